#include "runtime/commands.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>

#include "platform/files.h"
#include "platform/folders.h"
#include "runtime/launch.h"
#include "runtime/prefix.h"
#include "runtime/windows_programs.h"
#include "runtime/wine_session.h"
#include "wrapper/program_header.h"

namespace morvane::runtime {
namespace {

using namespace std::chrono_literals;
using Arguments = std::vector<std::string>;

constexpr int usage = 2;

int report(const Result<>& result) {
    if (!result) tell(result.error().message());
    return result ? 0 : 1;
}

int reportIn(const WineSession& session, const Result<>& result) {
    return session.stopped() != 0 ? session.stopped() : report(result);
}

bool hasDisplay() {
    return !environmentVariable("DISPLAY").empty() || !environmentVariable("WAYLAND_DISPLAY").empty();
}

/// What every start of a program needs: an engine, a drive C, the user's folders, and the sandbox.
Result<> readiness(const WineSession& session) {
    if (auto checked = session.usable(); !checked) return checked;
    const WrapperBundle& bundle = session.bundle();
    if (files::kindBehind(bundle.wrapper.systemRegistry()) != files::Kind::file) {
        return Failure{"This wrapper has no Windows drive yet: " + bundle.wrapper.prefix() +
                       "/system.reg is missing."};
    }
    if (!hasDisplay()) tell("There is no display (DISPLAY is not set): windows cannot be shown.");
    if (auto checked = keepDrives(bundle); !checked) return checked;
    return makeUserFolders(bundle);
}

int createCommand(const WrapperBundle& bundle, Result<> (*make)(WineSession&)) {
    WineSession session(bundle, "", StopBy::server);
    if (auto checked = session.usable(); !checked) return report(checked);
    if (session.joined()) return report(Failure{"Programs of this wrapper are running: end them first."});
    if (auto checked = keepDrives(bundle); !checked) return report(checked);
    return reportIn(session, make(session));
}

/// How long a program that an installer left running is left alone before it is asked to end.
std::chrono::milliseconds installerPatience() {
    constexpr std::chrono::seconds usual = 5min;
    const std::string text = environmentVariable("CASKERY_INSTALLER_PATIENCE");
    int seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    return error == std::errc() && end == text.data() + text.size() && seconds > 0
               ? std::chrono::seconds(seconds)
               : usual;
}

int installerCommand(const WrapperBundle& bundle, const Arguments& arguments, ChildOutput output) {
    WineSession session(bundle, "", StopBy::server, output);
    if (auto checked = readiness(session); !checked) return report(checked);
    // Another file would be opened by a program of Wine's, or by a dialog, and nobody would come to close it.
    if (!hasProgramEnding(arguments[0])) return report(Failure{arguments[0] + " is not a Windows program."});
    const Arguments rest(arguments.begin() + 1, arguments.end());
    const std::string program = session.nameablePath(arguments[0]);
    const auto call =
        output == ChildOutput::log ? callFor(bundle, program, rest) : consoleCallFor(bundle, program, rest);
    if (!call) return report(call.error());
    if (auto shown = session.sandbox().show(call->file); !shown) return report(shown);
    const int status = session.wine(call->arguments, call->runFolder, Display::shown);
    session.waitForInstaller(installerPatience());
    return session.stopped() != 0 ? session.stopped() : status;
}

int winetricksCommand(const WrapperBundle& bundle, const Arguments& verbs) {
    WineSession session(bundle, "", StopBy::server, ChildOutput::log, Downloads::yes);
    if (auto checked = readiness(session); !checked) return report(checked);
    if (files::kindBehind(bundle.wrapper.winetricks()) != files::Kind::file) {
        return report(Failure{"This wrapper has no winetricks script: " + bundle.wrapper.winetricks() +
                              " is missing."});
    }
    // The script installs into the prefix that it is given; in the application's copy the option also makes
    // it silent.
    Arguments arguments{bundle.wrapper.winetricks(), "--no-isolate"};
    arguments.insert(arguments.end(), verbs.begin(), verbs.end());
    const int status = session.program("/bin/sh", arguments, bundle.wrapper.driveC());
    session.waitForInstaller(installerPatience());
    if (session.stopped() != 0) return session.stopped();
    return status == 0 ? 0
                       : report(Failure{"winetricks ended with exit code " + std::to_string(status) + "."});
}

/// A script of the wrapper's menu, in Wine's environment, and what it has started in the wrapper.
int menuCommand(const WrapperBundle& bundle, const Arguments& arguments) {
    WineSession session(bundle, "", StopBy::server);
    if (auto checked = readiness(session); !checked) return report(checked);
    const int status = session.program("/bin/bash", arguments, bundle.wrapper.driveC());
    session.waitForAll();
    return session.stopped() != 0 ? session.stopped() : status;
}

int toolCommand(const WrapperBundle& bundle, const Arguments& wineArguments) {
    WineSession session(bundle, "", StopBy::server);
    if (auto checked = readiness(session); !checked) return report(checked);
    return play(session, {wineArguments, bundle.wrapper.driveC()});
}

/// Line by line what a debug run says before Wine does.
void beginLogs(const WrapperBundle& bundle, const WineCall& call) {
    std::string engine = "unknown";
    const auto version = files::read(bundle.wrapper.engineVersion());
    if (version) engine = *version;
    std::string wine = "Wrapper: " + bundle.wrapper.path() +
                       "\nEngine: " + engine.substr(0, engine.find('\n')) + "\nCommand:";
    for (const auto* words : {&call.before, &call.arguments})
        for (const std::string& word : *words) wine += " [" + word + "]";
    std::string display = "DISPLAY=" + environmentVariable("DISPLAY") +
                          "\nWAYLAND_DISPLAY=" + environmentVariable("WAYLAND_DISPLAY") +
                          "\nXDG_SESSION_TYPE=" + environmentVariable("XDG_SESSION_TYPE") + "\n";
    static_cast<void>(files::createFolder(bundle.wrapper.logs(), true));
    static_cast<void>(
        files::write(bundle.wrapper.logs() + "/LastRunWine.log", wine + "\n\n", files::Atomically::no));
    static_cast<void>(
        files::write(bundle.wrapper.logs() + "/LastRunX11.log", display, files::Atomically::no));
}

int playCommand(const WrapperBundle& bundle, bool debug) {
    WineSession session(bundle, debug ? bundle.wrapper.logs() + "/LastRunWine.log" : "", StopBy::quitScript);
    const auto settings = launchSettingsOf(bundle);
    if (!settings) return report(settings.error());
    if (auto checked = readiness(session); !checked) return report(checked);
    const auto& launch = *settings;
    const auto call = mainCall(bundle, launch);
    if (!call) return report(call.error());
    applyLimits(launch);
    WineCall placed = onDesktop(*call, bundle, launch.screen);
    if (auto added = addOptions(launch.options, session, placed); !added) return report(added);
    if (debug) beginLogs(bundle, placed);
    return play(session, placed);
}

int openCommand(const WrapperBundle& bundle, const Arguments& arguments) {
    WineSession session(bundle, "", StopBy::quitScript);
    const auto settings = launchSettingsOf(bundle);
    if (!settings) return report(settings.error());
    if (auto checked = readiness(session); !checked) return report(checked);
    const auto& launch = *settings;
    const std::string extension = lowerCaseExtension(arguments[0]);
    const bool ours = std::find(launch.associations.begin(), launch.associations.end(), extension) !=
                      launch.associations.end();
    const std::string file = session.nameablePath(arguments[0]);
    auto call = callFor(bundle, file, Arguments(arguments.begin() + 1, arguments.end()));
    if (!call) return report(call.error());
    auto& found = *call;
    // A document that the wrapper's programs are registered for, also one whose ending Windows itself would
    // run.
    if (ours && !isWindowsPath(arguments[0])) {
        const std::string path = file.starts_with('/') ? file : files::resolved(file).value_or(file);
        found.arguments = {"start.exe", "/wait", "/unix", path};
    }
    applyLimits(launch);
    if (auto shown = session.sandbox().show(found.file); !shown) return report(shown);
    WineCall placed = onDesktop(found, bundle, launch.screen);
    if (auto added = addOptions(launch.options, session, placed); !added) return report(added);
    return play(session, placed);
}

struct Command {
    const char* name;
    std::size_t least, most;  ///< arguments
    std::function<int(const WrapperBundle&, const Arguments&)> run;
};

const std::vector<Command>& commands() {
    constexpr std::size_t any = 1000;
    static const std::vector<Command> table{
        {"CKS-wineprefixcreate", 0, 0,
         [](auto& bundle, auto&) { return createCommand(bundle, createPrefix); }},
        {"CKS-wineboot", 0, 0, [](auto& bundle, auto&) { return createCommand(bundle, updatePrefix); }},
        {"CKS-InstallICE", 0, 0, [](auto& bundle, auto&) { return report(installEngineFiles(bundle)); }},
        {"CKS-installer", 1, any,
         [](auto& bundle, auto& arguments) { return installerCommand(bundle, arguments, ChildOutput::log); }},
        {"CKS-console", 1, any,
         [](auto& bundle, auto& arguments) {
             return installerCommand(bundle, arguments, ChildOutput::passedOn);
         }},
        {"CKS-winetricks", 1, any, winetricksCommand},
        {"CKS-menu", 1, 1, menuCommand},
        {"CKS-winecfg", 0, 0, [](auto& bundle, auto&) { return toolCommand(bundle, {"winecfg.exe"}); }},
        {"CKS-regedit", 0, 0, [](auto& bundle, auto&) { return toolCommand(bundle, {"regedit.exe"}); }},
        {"CKS-taskmgr", 0, 0, [](auto& bundle, auto&) { return toolCommand(bundle, {"taskmgr.exe"}); }},
        // In a console window of its own: our standard input holds nothing to read.
        {"CKS-cmd", 0, 0,
         [](auto& bundle, auto&) {
             return toolCommand(bundle, {"wineconsole.exe", "cmd.exe"});
         }},
        {"debug", 0, 0, [](auto& bundle, auto&) { return playCommand(bundle, true); }},
    };
    return table;
}

}  // namespace

int runCommand(const WrapperBundle& bundle, const Arguments& arguments) {
    if (arguments.empty()) {
        // The settings tool's window is Wine's configuration here.
        if (bundle.role == Role::settingsTool) return toolCommand(bundle, {"winecfg.exe"});
        return playCommand(bundle, false);
    }
    const Arguments rest(arguments.begin() + 1, arguments.end());
    for (const Command& command : commands()) {
        if (arguments[0] != command.name) continue;
        if (rest.size() >= command.least && rest.size() <= command.most) return command.run(bundle, rest);
        tell(arguments[0] + ": wrong number of arguments.");
        return usage;
    }
    if (arguments[0].starts_with("CKS-")) {
        tell(arguments[0] + ": no such command.");
        return usage;
    }
    return openCommand(bundle, arguments);
}

}  // namespace morvane::runtime
