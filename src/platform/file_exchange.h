// platform/file_exchange.h: two things at once in each other's place. Any thread.
#pragma once

#include <string>

#include "platform/result.h"

namespace morvane::files {

/// Exchanges what lies at the two paths of one file system: a kill leaves both as they were or both exchanged.
/// A file system that cannot do that gets renames, after a kill between which both still lie beside each other.
[[nodiscard]] Result<> exchange(const std::string& one, const std::string& other);

}  // namespace morvane::files
