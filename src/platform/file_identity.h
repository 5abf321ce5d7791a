// platform/file_identity.h: knowing a file or folder again. Any thread.
#pragma once

#include <optional>
#include <string>

namespace morvane::files {

/// What stays with the item at the path (links followed) when it is renamed, moved within its file system or
/// changed, and what no other item there has. Nothing when there is no such item, and where the file system
/// does not keep when an item was made: numbers of items are used again.
[[nodiscard]] std::optional<std::string> identityOf(const std::string& path);

}  // namespace morvane::files
