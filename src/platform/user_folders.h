// platform/user_folders.h: the folders of this user by the rules of the free desktops. Any thread; reads files
// only. All paths are absolute, without a final "/".
#pragma once

#include <string>
#include <string_view>

namespace morvane::user_folders {

/// `$HOME`, unless it is missing, relative or somebody else's (a command run for another user often keeps it):
/// then the folder that the system knows for this user.
[[nodiscard]] std::string home();

/// The folder that the variable (`XDG_DATA_HOME`) names, else `tail` below the home folder. A relative value
/// counts as missing.
[[nodiscard]] std::string base(const char* variable, const std::string& home, std::string_view tail);

/// The folder of that purpose ("DESKTOP", "DOWNLOAD") that `user-dirs.dirs` names in the user's own language;
/// `usual` below the home folder where it names none.
[[nodiscard]] std::string named(std::string_view purpose, const std::string& home, std::string_view usual);

/// The last valid entry for the purpose in the text of such a file: `XDG_DESKTOP_DIR="$HOME/Schreibtisch"` or
/// an absolute path, a backslash before a character that stands for itself. Empty without one.
[[nodiscard]] std::string entryFor(std::string_view purpose, const std::string& home, std::string_view text);

}  // namespace morvane::user_folders
