// runtime/windows_programs.h: what the launcher must know about a Windows program before Wine sees it. Any
// thread; reads files only.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace morvane::runtime {

/// Splits an argument text as Windows programs do: blanks separate, double quotes group, a backslash counts
/// only before a double quote.
[[nodiscard]] std::vector<std::string> splitArguments(std::string_view text);

struct StartLine {
    std::string program;  ///< a Windows path
    std::string arguments;
    bool operator==(const StartLine&) const = default;
};
/// The program of a batch file whose only line is `start "C:\a b.exe" arguments`, or the same without
/// "start"; nothing for any other batch file, and where `cmd` would change the line (redirections, percent
/// signs behind the program). A percent sign in the program is either part of its name or names a variable:
/// the caller sees by whether there is such a file.
[[nodiscard]] std::optional<StartLine> startLineOf(std::string_view batchFile);

/// "C:\Games\a.exe" and "c:/Games/a.exe".
[[nodiscard]] bool isWindowsPath(std::string_view path);
/// The host's path of a Windows path, found without regard to case, as Wine does; nothing when no such file
/// is there.
[[nodiscard]] std::optional<std::string> hostPathOf(const std::string& prefix, std::string_view windowsPath);
/// The extension, in lower case.
[[nodiscard]] std::string lowerCaseExtension(const std::string& path);

}  // namespace morvane::runtime
