// platform/older_library.h: the library folder that once lay in the home folder. Main thread, before any other.
#pragma once

#include <string>
#include <vector>

#include "platform/folders.h"

namespace morvane {

/// Takes what is ours of a `Library` in the home folder over to where the library lies now, once: it appears
/// there whole or not at all, also after a kill, when the next start goes on. What else lies in that folder
/// stays. Where it can't be taken over, `folders.library` becomes the older place, so that nothing seems lost.
/// Gives what the user is to be told, line by line; that the library can't be written as well.
[[nodiscard]] std::vector<std::string> settleLibrary(Folders& folders);

}  // namespace morvane
