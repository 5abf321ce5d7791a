// runtime/launch.h: starting Windows programs of a wrapper and waiting for them. One thread.
#pragma once

#include <string>
#include <vector>

#include "platform/result.h"
#include "runtime/wine_session.h"
#include "runtime/wrapper_bundle.h"

namespace morvane::runtime {

/// Arguments for Wine, and the folder to run it in.
struct WineCall {
    std::vector<std::string> arguments;
    std::string runFolder;
    std::vector<std::string> before = {};  ///< a command that runs Wine; empty: none
    std::string file = {};                 ///< the program's, or the document's; empty for Wine's own
    bool operator==(const WineCall&) const = default;
};

/// How the program, a Windows path or a host's path, is started: an .exe directly in its own folder; a batch
/// file that only starts a program, as that program; an .msi by msiexec; everything else through "start". A
/// failure, for the user, when the file is missing or when the engine cannot run programs of its machine.
[[nodiscard]] Result<WineCall> callFor(const WrapperBundle& bundle, const std::string& program,
                                       const std::vector<std::string>& arguments);
/// The same in this terminal: a batch file without a console window of its own, which would take its output.
[[nodiscard]] Result<WineCall> consoleCallFor(const WrapperBundle& bundle, const std::string& program,
                                              const std::vector<std::string>& arguments);
/// The wrapper's own program with its flags and start command.
[[nodiscard]] Result<WineCall> mainCall(const WrapperBundle& bundle, const LaunchSettings& settings);
/// The call inside a virtual desktop, when the settings ask for one.
[[nodiscard]] WineCall onDesktop(WineCall call, const WrapperBundle& bundle, const ScreenMode& screen);

/// "Disable CPUs" and "set max files", for this process and every program it starts.
void applyLimits(const LaunchSettings& settings);

/// Gives the session the user's variables, and the call the command before it. A failure, for the user, when
/// that is not there.
[[nodiscard]] Result<> addOptions(const LaunchOptions& options, WineSession& session, WineCall& call);

/// Runs the call, waits until every program of the wrapper has ended, and gives the exit status of the call.
int play(WineSession& session, const WineCall& call);

}  // namespace morvane::runtime
