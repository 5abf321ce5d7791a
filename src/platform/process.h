// platform/process.h: child programs. Any thread; blocks the caller.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/child.h"
#include "platform/result.h"

namespace morvane {

class Cancellation;

struct ProcessRequest {
    std::string program;                        ///< absolute path
    std::vector<std::string> arguments = {};    ///< one argument each; no shell ever sees them
    std::optional<std::string> runFolder = {};  ///< existing working folder; absent: inherited
    /// The program's whole environment; absent: inherited.
    std::optional<std::map<std::string, std::string>> environment = {};
    bool waitForExit = true;
    /// Called with each piece of standard output as it comes, on the calling thread; the result has none then.
    std::function<void(std::string_view)> printed = {};
    /// So many bytes of the end of standard error go into the result; all of it is passed on as it comes. 0:
    /// standard error is inherited.
    std::size_t keptErrors = 0;
    /// A request to it stops the program and what it started in its process group, and makes `run` throw
    /// `Cancelled`. Null for a program that a cancellation does not concern.
    Cancellation* cancellation = nullptr;
};

struct ProcessResult {
    std::string output;       ///< the bytes of standard output, to its end of file
    ProgramEnding ending;     ///< a success without the wait
    std::string errors = {};  ///< the end of standard error, as far as it was to be kept
};

namespace processes {

/// Runs the program in a process group of its own, with the default signal handling and none of this
/// process's open files. Standard input is a pipe to which nothing is written and which ends when the output
/// has been closed; standard error is inherited. Returns when every holder of its standard output has closed
/// it (and, when asked to wait, it has exited). A failure when it could not be started, also when a text for
/// it holds a NUL.
[[nodiscard]] Result<ProcessResult> run(const ProcessRequest& request);

/// Starts the program in a session of its own, without arguments or pipes (all three streams on the null
/// device), and returns at once.
[[nodiscard]] Result<> launch(const std::string& program, const std::vector<std::string>& arguments = {});

/// Asks every child of this process, with its process group, to end (SIGTERM), and ends what is left of them
/// after the limit (SIGKILL). For a process that is about to end: whoever waits for a child sees it go.
void stopChildren(std::chrono::milliseconds limit);

/// Waits until the processes with these numbers have ended, children of this process or not, but no longer
/// than the limit. True when all of them have.
[[nodiscard]] bool waitForEnd(const std::vector<int>& processes, std::chrono::milliseconds limit);

/// Every executable regular file of that name in the folders of the list (`a:b:c`), in order;
/// relative folders are left out. A name that begins with "/" is looked for at that place only.
[[nodiscard]] std::vector<std::string> search(const std::string& name, const std::string& searchPath);

}  // namespace processes
}  // namespace morvane
