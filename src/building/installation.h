// building/installation.h: the game's own installer.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ports/port_data.h"

namespace morvane {

class Build;
class NSPortManager;
class Wrapper;

/// True.
bool installApp(Build& build, const std::optional<std::string>& installerName,
                const std::optional<std::string>& source, const NSPortManager& port);
/// The installer that needs no question: on a disc, or in the folder of downloads.
[[nodiscard]] std::optional<std::string> foundInstaller(const std::optional<std::string>& installerName,
                                                        const std::optional<std::string>& source);
/// True.
bool runInstaller(const std::string& installer, const std::string& flags, const NSPortManager& port);
/// Main thread.
void keepWindowInFrontForAppOfTimer(const Wrapper& wrapper);
[[nodiscard]] std::vector<std::string> desktopFolderBeforeExtraction();
/// Of the new entries, the shortcuts only.
void removeAllFromDesktopFolderAfterExtractionExcept(const std::vector<std::string>& names);
void removeUselessDesktopFilesCreatedOnBlock(const std::function<void()>& work);
[[nodiscard]] bool relativePathsAreInExes(const std::vector<ExeEntry>& exes);

}  // namespace morvane
