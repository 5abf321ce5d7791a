// platform/protected_folders.h: the folders that nothing of ours ever removes, whatever it was told. Any thread.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

namespace morvane::files {

/// The root, the home folder (the user's own as well, when `MORVANE_HOME` names another), Desktop, Downloads, the
/// applications folder, the apps folders of the settings, volumes and the folders that hold them.
[[nodiscard]] std::vector<std::string> protectedFolders();

/// Whether it is one of those or holds one of them, at any depth. Decided by what it is and not by its name, so
/// that no link, bind mount or spelling leads around it.
[[nodiscard]] bool isProtected(const struct stat& folder);

}  // namespace morvane::files
