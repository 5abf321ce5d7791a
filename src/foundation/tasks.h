// foundation/tasks.h: the one way in which a program is started. Any thread; blocks the caller.
//
// On the thread of the running creation, a cancellation stops the program and throws `Cancelled`.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/process.h"
#include "platform/result.h"

namespace morvane {

enum class Wait { no, yes };

namespace MVTask {

using Arguments = std::optional<std::vector<std::string>>;
using Environment = std::optional<std::map<std::string, std::string>>;

/// How the program ended, and what it printed. A failure when it could not be started, which the user was told
/// where it is missing or not executable. A run path that does not exist is ignored. Returns only when the output
/// is closed, also without the wait, which ends in a success.
[[nodiscard]] Result<ProcessResult> runProgram(const std::optional<std::string>& program,
                                               const std::optional<std::string>& runPath,
                                               const Environment& environment, const Arguments& flags,
                                               Wait wait);
[[nodiscard]] Result<ProcessResult> runProgram(const std::optional<std::string>& program,
                                               const std::optional<std::string>& runPath,
                                               const Arguments& flags, Wait wait);
/// In "/", waiting.
[[nodiscard]] Result<ProcessResult> runProgram(const std::optional<std::string>& program,
                                               const Environment& environment, const Arguments& flags);
/// Waiting; what it prints is handed on as it comes, on this thread, or dropped.
[[nodiscard]] Result<ProcessResult> runProgram(const std::string& program, const std::string& runPath,
                                               const std::vector<std::string>& flags,
                                               const std::function<void(std::string_view)>& printed);
/// A program at a place that the caller has looked at; nothing is told to the user. Both logs get it, and a
/// cancellation of the creation stops it.
[[nodiscard]] Result<ProcessResult> runLogged(ProcessRequest request);
/// Splits at single spaces; a backslash before a space keeps it.
[[nodiscard]] Result<ProcessResult> runTerminalCommand(const std::string& command,
                                                       const std::optional<std::string>& path, Wait wait);

/// The output as text: empty where the program could not be started, and when it is not UTF-8.
[[nodiscard]] std::string outputOf(const Result<ProcessResult>& result);
/// For a program whose ending changes nothing: whoever starts it says so with this.
inline void ignoreEnding(const Result<ProcessResult>&) {}

/// The last match on the search path, at whose end the application's own programs are; kept once found.
/// Nothing when there is none.
[[nodiscard]] std::optional<std::string> getPathOfProgram(const std::string& name);
/// Starts it without arguments and returns at once.
void runProgramAtPath(const std::string& path);

}  // namespace MVTask
}  // namespace morvane
