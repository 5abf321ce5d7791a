// platform/file_replacement.h: a small file that is replaced as a whole. Any thread, any number of processes.
#pragma once

#include <string>
#include <string_view>

namespace morvane::files {

/// Puts a file with the bytes in the place of whatever has the name in the open folder; a file's permissions are kept.
/// At every moment the old or the new file is there, on the disk before it has the name. Of a process that is killed
/// meanwhile nothing is left that the next replacement of the same file does not remove. False with `errno` set.
[[nodiscard]] bool replaceFile(int folder, const std::string& name, std::string_view bytes);

}  // namespace morvane::files
