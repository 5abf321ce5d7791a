// wrapper/windows_paths.h: Windows paths of a wrapper and the host's paths. Any thread; reads drive links
// only.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace morvane {

enum class For64BitsApplication { no, yes };

namespace NSUtilities {

/// The host path of "C:/Games/a.exe" inside the wrapper. Nothing when the path is shorter than two
/// characters, or when its drive has no link (which is reported).
[[nodiscard]] std::optional<std::string> getMacPathForWindowsPath(std::string_view windowsPath,
                                                                  const std::string& wrapper);
/// With "/" separators, by the first drive letter that leads there, else Z.
[[nodiscard]] std::string getWindowsPathForMacPath(const std::string& macPath, const std::string& wrapper);
/// The program of a command line, with "/" separators.
[[nodiscard]] std::string getFileNameOfWindowsPath(std::string_view commandLine);
/// The arguments of a command line, as they are.
[[nodiscard]] std::string getFlagsOfWindowsPath(std::string_view commandLine);
/// As a Windows path; "C:/Program Files" when not known.
[[nodiscard]] std::string programFilesPathfromWrapper(const std::string& wrapper, For64BitsApplication wide);
/// "winxp" to "Windows XP".
[[nodiscard]] std::optional<std::string> windowsSystemNameFromSystemCode(std::string_view code);
[[nodiscard]] std::optional<std::string> windowsSystemCodeFromSystemName(std::string_view name);

}  // namespace NSUtilities
}  // namespace morvane
