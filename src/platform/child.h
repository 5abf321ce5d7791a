// platform/child.h: how a child process is started and waited for. Any thread.
#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/result.h"

namespace morvane {

/// How a program has ended.
struct ProgramEnding {
    int exitStatus = 0;  ///< 0 to 255; 0 after a signal
    int signal = 0;      ///< the number of the signal that ended it; 0 when it exited

    [[nodiscard]] bool succeeded() const { return exitStatus == 0 && signal == 0; }
    /// As a shell counts: 128 plus the number after a signal.
    [[nodiscard]] int shellStatus() const { return signal != 0 ? 128 + signal : exitStatus; }
    bool operator==(const ProgramEnding&) const = default;
};

struct ChildPlan {
    std::string program;                 ///< absolute path
    std::vector<std::string> arguments;  ///< one argument each; no shell ever sees them
    /// The program's whole environment; absent: inherited.
    std::optional<std::map<std::string, std::string>> environment = {};
    std::optional<std::string> runFolder = {};  ///< absent: inherited
    int input = -1, output = -1, error = -1;    ///< descriptors for its streams; -1: inherited
    bool ownSession = false;                    ///< else a process group of its own
    /// Handed to the system at once, which clears it away: nobody here can wait for it.
    bool orphan = false;
};

/// The number of the running program, which has the default signal handling and none of this process's open files
/// but its three streams. A failure when it could not be started, also when a text for it holds a NUL.
[[nodiscard]] Result<pid_t> startChild(const ChildPlan& plan);
/// Waits for a child of this process and clears it away.
ProgramEnding waitForChild(pid_t child);

}  // namespace morvane
