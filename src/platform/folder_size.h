// platform/folder_size.h: what the contents of a folder take up. Any thread.
#pragma once

#include <cstdint>
#include <string>

namespace morvane::files {

/// The size attributes, in bytes, of everything below the folder at any depth, folders included: neither the
/// folder itself nor symbolic links, which are not followed. What cannot be read counts as 0.
[[nodiscard]] std::uint64_t sizeBelow(const std::string& folder);

}  // namespace morvane::files
