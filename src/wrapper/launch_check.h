// wrapper/launch_check.h: what keeps a wrapper from running a program, found before anything is started. Any
// thread; reads files only.
#pragma once

#include <optional>
#include <string>

#include "platform/result.h"

namespace morvane {

/// Why the wrapper cannot run the file, by the machine that it was made for. For a batch file that only starts
/// a program (the main program on another drive), why it cannot run that one.
[[nodiscard]] Result<> checkMachine(const std::string& program, const std::string& wrapper);

/// Why the item's own program cannot start: no engine, no drive C, no program set or none there, one for
/// another machine, no command of those that the user has put before it, or no way to make the sandbox that it
/// is to run in. As the launcher sees it: letters of drive C's names are found without regard to case.
[[nodiscard]] Result<> checkLaunch(const std::string& application);

}  // namespace morvane
