// server/static_files.h: which file of a folder an address names. Any thread.
#pragma once

#include <optional>
#include <string>

namespace morvane {

/// The file below the folder, with every link resolved. Nothing for folders, hidden files and whatever lies
/// in a hidden folder, and links that lead to such or out of the folder. Doubled slashes count as one.
[[nodiscard]] std::optional<std::string> fileBelow(const std::string& folder, const std::string& path);
/// The content type by the file's ending, as far as browsers care.
[[nodiscard]] std::string contentTypeOf(const std::string& path);

}  // namespace morvane
