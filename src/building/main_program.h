// building/main_program.h: the game's main program, found or asked for.
#pragma once

#include <optional>
#include <string>

namespace morvane {

class NSPortManager;
class Wrapper;

std::optional<std::string> confirmMainExePathForPort(NSPortManager& port,
                                                     const std::optional<std::string>& source);
[[nodiscard]] std::optional<std::string> mainExePathFromPort(const NSPortManager& port);
/// Store what they find.
std::optional<std::string> alternateMainExePathForPort(NSPortManager& port);
std::optional<std::string> alternateMainExePathForGOGPort(NSPortManager& port);
[[nodiscard]] std::optional<std::string> completeWindowsPath(const std::string& windowsPath,
                                                             const Wrapper& wrapper);

}  // namespace morvane
