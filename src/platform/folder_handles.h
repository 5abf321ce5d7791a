// platform/folder_handles.h: open folders, their entries, and failures by `errno`. For the sources of this folder.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/result.h"

namespace morvane::files {

[[nodiscard]] Failure failureAt(const std::string& path, int number);
/// Of `errno`.
[[nodiscard]] Failure lastFailure(const std::string& path);
/// Sets `errno` and answers false for what the system would silently cut off at the NUL.
[[nodiscard]] bool usable(std::string_view path);
/// The sorted names in an open folder; nothing, with `errno` set, when it cannot be read.
[[nodiscard]] std::optional<std::vector<std::string>> entriesOf(int folder);

/// Whether `remove` may take what lies there: false, with `errno` set, for a folder that is protected
/// (platform/protected_folders.h) or in which something is mounted.
[[nodiscard]] bool mayBeRemoved(const std::string& path);

}  // namespace morvane::files
