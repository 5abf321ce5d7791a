// ports/exe_selection.h: programs and flags out of shortcuts, desktop entries and autorun files. Any thread.
//
// Shortcut, internet shortcut and autorun texts are 8-bit texts; desktop entries are UTF-8.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace morvane {

namespace NSExeSelection {

/// The run path: the program's Windows path in quotes, a blank and the flags.
[[nodiscard]] std::string selectAsMainExe(const std::string& file, const std::string& wrapper);
/// With "/" separators, or empty.
[[nodiscard]] std::string getLNKPathFromFileContents(std::string_view contents, std::string_view type);
[[nodiscard]] std::optional<std::string> getLNKPathFromString(std::string_view text, std::string_view type);
[[nodiscard]] std::string getLNKDriveFromString(std::string_view text);
[[nodiscard]] std::string getLNKFlagsFromFileContents(std::string_view contents, std::string_view path);
[[nodiscard]] std::optional<std::string> getLNKFlagsFromString(std::string_view text,
                                                               std::string_view folder);
[[nodiscard]] std::optional<std::string> getLNKFlagsFromRareString(std::string_view text,
                                                                   std::string_view path);
[[nodiscard]] std::optional<std::string> getLNKFileFromDESKTOPFileContents(std::string_view contents,
                                                                           const std::string& wrapper);
[[nodiscard]] std::string getEXEFileFromDESKTOPFileContents(std::string_view contents);
[[nodiscard]] std::string getDESKTOPPathFromFileContents(std::string_view contents,
                                                         const std::string& wrapper);
[[nodiscard]] std::string getDESKTOPFlagsFromFileContents(std::string_view contents, std::string_view path,
                                                          const std::string& wrapper);
[[nodiscard]] std::string getURLFlagsFromSteamFileContents(std::string_view contents);
[[nodiscard]] std::string getSteamExePathForPort(const std::string& wrapper);
[[nodiscard]] std::string getAutorunPathFromFile(const std::string& file, const std::string& wrapper);
[[nodiscard]] std::string pathByUpdatingPath(const std::string& path, const std::string& wrapper);

/// The program that an autorun file starts, looked for beside it whatever the case: the installer search's
/// reading of the file (`getAutorunPathFromFile:` of the creation). Nothing when it names none that exists.
[[nodiscard]] std::optional<std::string> autorunProgram(const std::string& file);

}  // namespace NSExeSelection
}  // namespace morvane
