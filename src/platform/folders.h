// platform/folders.h: where things lie on this machine. All are absolute paths without a final "/".
#pragma once

#include <string>

namespace morvane {

struct Folders {
    std::string home;  ///< `$MORVANE_HOME` (a relative one counts from the working folder), else the user's
    std::string
        library;  ///< the fixed `Library/...` tails lie below it: the home folder of a `MORVANE_HOME`,
                  ///< else `morvane` in `$XDG_DATA_HOME`, never the user's home folder itself
    std::string verbsCache;       ///< downloads of the winetricks script: `winetricks` in `$XDG_CACHE_HOME`
    std::string applicationData;  ///< what the desktop reads for this user: `$XDG_DATA_HOME`
    std::string applications;     ///< `/Applications` where it exists, else `Applications` in the home folder
    std::string volumes;    ///< the only folder of volumes: `$MORVANE_HOME/Volumes`; empty for those of the
                            ///< machine (platform/volumes.h)
    std::string temporary;  ///< this user's own, for what passes: in `$MORVANE_HOME`, else in the user's
                            ///< cache folder. Made at its first use (`files::PrivateFolder`)
    std::string sharedTemporary;  ///< "/tmp", where everybody may write: nothing there is ours by its name
    std::string resources;   ///< the application's resources: `$MORVANE_RESOURCES`, else `../share/morvane`
    std::string programs;    ///< `programs` in the resources: put at the end of the search path
    std::string desktop;     ///< the user's own, by its localised name (platform/user_folders.h)
    std::string downloads;   ///< the same; in a `MORVANE_HOME` both have their English names
    std::string systemRoot;  ///< "" on a real machine; where `/System/...` files are looked for

    /// The folders of this process's environment.
    [[nodiscard]] static Folders fromEnvironment();
};

/// The country code of the user's locale (`LC_ALL`, `LC_MESSAGES`, `LANG`), as "DE"; empty when it has none.
[[nodiscard]] std::string localeCountryCode();
/// The value of an environment variable; empty when unset.
[[nodiscard]] std::string environmentVariable(const char* name);
/// The current year of the user's calendar day.
[[nodiscard]] int currentYear();

}  // namespace morvane
