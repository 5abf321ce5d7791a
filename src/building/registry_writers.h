// building/registry_writers.h: what a port wants in the registry and in the drives.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ports/port_data.h"

namespace morvane {

class Build;
class NSPortManager;

bool saveMacDriver(bool use, const std::string& wrapper);
bool saveDirect3DBoost(bool use, const std::string& wrapper);
bool saveDecorateWindow(bool decorate, const std::string& wrapper);
/// An empty list keeps the default links.
bool saveDrives(const std::optional<std::vector<DriveEntry>>& drives, const std::string& wrapper);
bool saveExtensions(const std::optional<std::vector<ExtensionEntry>>& extensions, NSPortManager& port);
bool saveOverridesForPortData(Build& build, const NSPortData& data, NSPortManager& port);
/// False when the size is not known.
bool settingVideoCardMemorySizeAtPort(const NSPortManager& port);
bool removeFromRegistryAppsThatRunAutomaticallyOnWrapperStartupAtFile(const std::string& wrapper);

}  // namespace morvane
