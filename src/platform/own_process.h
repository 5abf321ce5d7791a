// platform/own_process.h: who is asking. Any thread.
#pragma once

#include <string>
#include <vector>

namespace morvane::processes {

/// The process numbers, in decimal, of this process and of its ancestors: what must survive when processes
/// are stopped.
[[nodiscard]] std::vector<std::string> ownLine();

}  // namespace morvane::processes
