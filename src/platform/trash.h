// platform/trash.h: the trash of this user's desktop, by the common rules of freedesktop.org. Any thread.
#pragma once

#include <string>

#include "platform/folders.h"
#include "platform/result.h"

namespace morvane::trash {

/// Moves what lies at the path (a link itself) into the trash of its file system, from where the desktop can put
/// it back: that of the user's data folder, else the one at the top of the file system. Gives where it lies then.
/// A rename, never a copy. A failure, and nothing is changed, where there is no trash that can take it.
[[nodiscard]] Result<std::string> take(const std::string& path, const Folders& folders);

}  // namespace morvane::trash
