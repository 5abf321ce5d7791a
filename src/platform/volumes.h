// platform/volumes.h: where removable media are mounted. Any thread; looked up anew by each call, since discs
// come and go.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/folders.h"

namespace morvane::volumes {

/// The folders of the volumes that are there now and can be read, each once: what lies in the folders in which
/// desktops and administrators mount media, and what the kernel says of discs and of removable drives
/// elsewhere. Where `Folders::volumes` names a folder, what lies in that alone.
[[nodiscard]] std::vector<std::string> mounted(const Folders& folders);

/// The folder to mount one more in: `Folders::volumes`, else the first of those of the desktops that is there.
[[nodiscard]] std::string parent(const Folders& folders);

/// The places in a table of the form of `/proc/self/mountinfo` at which removable media are mounted, in its
/// order. `isRemovable` is asked for the number ("8:17") of a device whose file system does not tell.
[[nodiscard]] std::vector<std::string> mediaIn(
    std::string_view mountTable, const std::function<bool(const std::string& device)>& isRemovable);

}  // namespace morvane::volumes
