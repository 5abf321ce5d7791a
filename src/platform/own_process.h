// platform/own_process.h: who is asking. Any thread.
#pragma once

#include <string>
#include <vector>

namespace morvane::processes {

/// The process numbers, in decimal, of this process and of its ancestors: what must survive when processes
/// are stopped.
[[nodiscard]] std::vector<std::string> ownLine();

/// Whether the process with that number runs this process's program: another command of ours, which may be
/// waiting for the game that is stopped.
[[nodiscard]] bool runsOwnProgram(const std::string& number);

}  // namespace morvane::processes
