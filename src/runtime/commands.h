// runtime/commands.h: what the program does for its arguments. One thread.
#pragma once

#include <string>
#include <vector>

#include "runtime/wrapper_bundle.h"

namespace morvane::runtime {

/// Runs one command and gives the exit status: the Windows program's own, 0 done, 1 failed (the reason is on
/// standard error), 2 usage, 128 and more after a signal.
///
///     CKS-wineprefixcreate    CKS-wineboot    CKS-InstallICE
///     CKS-installer PROGRAM [ARGUMENT...]         CKS-winetricks VERB...
///     CKS-console PROGRAM [ARGUMENT...]           the same, and what the program prints is printed
///     CKS-menu SCRIPT         an entry of the wrapper's menu
///     CKS-winecfg    CKS-regedit    CKS-taskmgr    CKS-cmd
///     debug                   the plain start, with Wine's output in Logs/LastRunWine.log
///     PROGRAM [ARGUMENT...]   a program or document, by its host's path or its Windows path
///     (nothing)               the program of the settings
int runCommand(const WrapperBundle& bundle, const std::vector<std::string>& arguments);

}  // namespace morvane::runtime
