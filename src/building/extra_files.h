// building/extra_files.h: where a port's extra files come from. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ports/port_data.h"

namespace morvane {

class Build;
class NSPortManager;

/// True.
bool downloadExtraFiles(Build& build, const std::vector<ExtraFileEntry>& entries, const NSPortManager& port);

}  // namespace morvane

namespace morvane::extra_files {

/// Whether the entry's origin is a link; otherwise the user supplies the file.
[[nodiscard]] bool isDownloaded(const ExtraFileEntry& entry);
/// The file's own name: the last path component of the origin (of a link as `nameOfLink`); "temp.exe" without
/// an origin. Not checked: it comes from a stranger and may be empty or "..".
[[nodiscard]] std::string fileNameOf(const ExtraFileEntry& entry);
/// The name that a download of the link gets: the last path component, without the query and the fragment,
/// its escapes read ("My%20Game.zip?x=1" is "My Game.zip") unless they are no text. As unchecked as above.
[[nodiscard]] std::string nameOfLink(std::string_view link);

}  // namespace morvane::extra_files
