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

namespace morvane {

enum class Wait { no, yes };

namespace MVTask {

using Arguments = std::optional<std::vector<std::string>>;
using Environment = std::optional<std::map<std::string, std::string>>;

/// The program's standard output; the empty text on every failure (reported where the program is missing or
/// not executable) and without the wait; nothing when it is not UTF-8. A run path that does not exist is
/// ignored. Returns only when the output is closed, also without the wait.
std::optional<std::string> runProgram(const std::optional<std::string>& program,
                                      const std::optional<std::string>& runPath,
                                      const Environment& environment, const Arguments& flags, Wait wait);
std::optional<std::string> runProgram(const std::optional<std::string>& program,
                                      const std::optional<std::string>& runPath, const Arguments& flags,
                                      Wait wait);
/// In "/", waiting.
std::optional<std::string> runProgram(const std::optional<std::string>& program,
                                      const Environment& environment, const Arguments& flags);
/// Runs a program as `runProgram` does, waiting, for its exit status: 0 to 255, 128 and more after a signal;
/// nothing when it could not be started (reported where it is missing or not executable). What it prints is
/// handed on as it comes, on this thread, or dropped.
std::optional<int> exitStatusOfProgram(const std::string& program, const std::string& runPath,
                                       const std::vector<std::string>& flags,
                                       const std::function<void(std::string_view)>& printed = {});
/// Splits at single spaces; a backslash before a space keeps it.
std::optional<std::string> runTerminalCommand(const std::string& command,
                                              const std::optional<std::string>& path, Wait wait);
/// The last match on the search path, at whose end the application's own programs are; kept once found.
/// Nothing when there is none.
[[nodiscard]] std::optional<std::string> getPathOfProgram(const std::string& name);
/// Starts it without arguments and returns at once.
void runProgramAtPath(const std::string& path);

}  // namespace MVTask
}  // namespace morvane
