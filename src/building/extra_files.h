// building/extra_files.h: where a port's extra files come from. Any thread.
#pragma once

#include <string>

#include "ports/port_data.h"

namespace morvane::extra_files {

/// Whether the entry's origin is a link; otherwise the user supplies the file.
[[nodiscard]] bool isDownloaded(const ExtraFileEntry& entry);
/// The file's own name: the last path component of the origin, without the query of a link; "temp.exe"
/// without an origin.
[[nodiscard]] std::string fileNameOf(const ExtraFileEntry& entry);

}  // namespace morvane::extra_files
