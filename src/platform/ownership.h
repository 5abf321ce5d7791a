// platform/ownership.h: whose files these are. Any thread.
#pragma once

#include <string>

namespace morvane::files {

/// Whether what lies at the path itself (a link is a link) belongs to the user who runs this process.
[[nodiscard]] bool isOwn(const std::string& path);

}  // namespace morvane::files
