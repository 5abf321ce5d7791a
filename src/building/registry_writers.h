// building/registry_writers.h: what a port wants in the registry and in the drives.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ports/port_data.h"

namespace morvane {

class Build;
class NSPortManager;
class Wrapper;

bool saveMacDriver(bool use, const Wrapper& wrapper);
bool saveDirect3DBoost(bool use, const Wrapper& wrapper);
bool saveDecorateWindow(bool decorate, const Wrapper& wrapper);
/// An empty list keeps the default links.
bool saveDrives(const std::optional<std::vector<DriveEntry>>& drives, const Wrapper& wrapper);
bool saveExtensions(const std::optional<std::vector<ExtensionEntry>>& extensions, NSPortManager& port);
bool saveOverridesForPortData(Build& build, const NSPortData& data, NSPortManager& port);
/// False when the size is not known.
bool settingVideoCardMemorySizeAtPort(const NSPortManager& port);
bool removeFromRegistryAppsThatRunAutomaticallyOnWrapperStartupAtFile(const Wrapper& wrapper);

}  // namespace morvane
