// runtime/prefix.h: making and refreshing the Windows drive of a wrapper. One thread.
#pragma once

#include <optional>
#include <string>

#include "platform/result.h"
#include "runtime/wine_session.h"

namespace morvane::runtime {

/// Makes the user's folders on drive C where they are missing: Wine would link them to the user's own, and a
/// game must neither write there nor lose its saves when the wrapper moves. Before every start, because the
/// user may be a new one. A link that somebody put there is left alone: it may be where the saved games are.
[[nodiscard]] Result<> makeUserFolders(const WrapperBundle& bundle);

/// Puts the links of drives C and Z back where a port's own list of drives left them out: without C nothing
/// runs, and Z is how a program outside drive C is named. A link that is there stays as it is.
[[nodiscard]] Result<> keepDrives(const WrapperBundle& bundle);

/// "CKS-wineprefixcreate" and "CKS-wineboot": has Wine make, or update, the registry and drive C, without any
/// window, waits until both are on disk, cuts the debug information off Wine's files, and checks the result:
/// "system.reg", "user.reg", the drive links, no link to the home folder. Drive Z stays: it is how a program
/// outside drive C is named.
[[nodiscard]] Result<> createPrefix(WineSession& session);
[[nodiscard]] Result<> updatePrefix(WineSession& session);

/// The state that Wine leaves of its last update; a change means that it put its files there anew.
[[nodiscard]] std::string updateStampOf(const WrapperBundle& bundle);
/// Cuts the debug information off Wine's files in the Windows folder.
void slimPrefix(const WrapperBundle& bundle);

/// "CKS-InstallICE": makes the engine's programs runnable; a new engine needs nothing else to be put into a
/// wrapper.
[[nodiscard]] Result<> installEngineFiles(const WrapperBundle& bundle);

}  // namespace morvane::runtime
