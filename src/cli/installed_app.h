// cli/installed_app.h: the installed item that a command is about. Main thread.
#pragma once

#include <functional>
#include <string>

#include "cli/session.h"

namespace morvane::cli {

/// Runs the command with the path. Of an item of the library that is gone from there, the user is first asked
/// what became of it: the command goes on with the item that was located, and fails when there is none.
int withInstalledApp(Session& session, const std::string& given,
                     const std::function<int(const std::string& app)>& command);

}  // namespace morvane::cli
