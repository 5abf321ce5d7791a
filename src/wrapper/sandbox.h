// wrapper/sandbox.h: what a wrapper's programs may see of the machine: the modes, where a mode is kept, and
// whether this machine can do it. Any thread; asking the machine runs a program of it for some milliseconds.
//
// The launcher builds the sandbox itself (runtime/sandbox.h). docs/sandbox.md says what each mode lets through.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/folders.h"
#include "platform/result.h"
#include "platform/value.h"
#include "wrapper/wrapper.h"

namespace morvane {

enum class Sandbox {
    off,
    home,    ///< the machine read-only, the user's folders out of sight
    strict,  ///< the same without a network
};
inline constexpr std::array sandboxWords{"off", "home", "strict"};  ///< by the values of the modes

[[nodiscard]] std::string wordFor(Sandbox mode);
/// Nothing for another word.
[[nodiscard]] std::optional<Sandbox> sandboxOf(std::string_view word);

/// Of a wrapper's settings: `off` where there is none, the strictest for a word that nobody knows.
[[nodiscard]] Sandbox sandboxIn(const Dictionary& settings);
/// Puts it into the settings. Where there was none before, the folders that links of the wrapper's drive C name
/// at this moment (`linksOfDrive`) are noted and stay reachable. One that a program in a sandbox makes never is.
void putSandbox(Sandbox mode, const Wrapper& wrapper, Dictionary& settings);
/// The folders that were noted then; they are real paths.
[[nodiscard]] std::vector<std::string> sharedFolders(const Dictionary& settings);

/// A folder of the wrapper's user, or drive C, that the user has put elsewhere.
struct DriveLink {
    std::string link;
    std::string folder;  ///< its real path, outside the wrapper
    bool operator==(const DriveLink&) const = default;
};
[[nodiscard]] std::vector<DriveLink> linksOfDrive(const Wrapper& wrapper);

/// The program (bubblewrap) that makes sandboxes, tried out. A failure, for the user, says what keeps this
/// machine from it.
[[nodiscard]] Result<std::string> sandboxProgram(const std::string& searchPath);

/// What the user is told where a sandbox is wanted that can't be made.
[[nodiscard]] Failure sandboxRefusal(const Failure& why);

/// Whether the user has allowed that a wrapper runs without its sandbox where the machine can't make one; a
/// setting of the application that the launcher reads as well.
[[nodiscard]] bool mayRunWithoutSandbox(const Folders& folders);
inline constexpr const char* runWithoutSandboxName = "Run Without Sandbox";

}  // namespace morvane
