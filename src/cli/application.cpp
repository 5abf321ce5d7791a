#include "cli/application.h"

#include "app/start_up.h"
#include "building/main_program.h"
#include "building/new_sandbox.h"
#include "foundation/build_log.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "wrapper/port_manager.h"

namespace morvane::cli {

namespace {

/// The program that the wrapper starts, when it is not there; as its settings name it.
std::optional<std::string> missingProgram(const std::string& wrapper) {
    const NSPortManager settings = NSPortManager::managerWithPath(wrapper);
    const auto path = mainExePathFromPort(settings);
    if (path && files::kindBehind(*path) == files::Kind::file) return std::nullopt;
    return "C:" + settings.get(wrapper_keys::program);
}

}  // namespace

int finished(Session& session, const std::string& wrapper) {
    const auto log = BuildLog::last();
    if (wrapper.empty()) {
        const int code = session.endedWithoutResult();
        const auto reason = code == failed && log ? log->failure() : std::nullopt;
        if (reason) session.console().say(*reason);
        return code;
    }
    const auto missing = missingProgram(wrapper);
    const std::string quoted = shellQuoted(wrapper);
    if (session.console().output() == Output::json) {
        session.console().emit(
            {{"event", "done"}, {"wrapper", wrapper}, {"missing", missing ? Value(*missing) : Value()}});
    } else {
        session.console().print(localized("The wrapper is %@", {wrapper}));
    }
    if (missing) {
        return session.fail(
            localized(
                "The game's program %@ is not in it. Run its installer again with\n    morvane exe %@ INSTALLER\nor say which program it is with\n    morvane properties %@ --run 'C:\\FOLDER\\PROGRAM.exe'\nor remove the wrapper with\n    morvane library remove %@ --disk",
                {*missing, quoted, quoted, quoted}) +
            (log ? "\n" + localized("The log of the build is %@", {log->path()}) : ""));
    }
    if (session.console().output() == Output::text) {
        session.console().print(localized("Start it with: morvane run %@", {quoted}));
    }
    return done;
}

void Application::TerminalShell::showWindow(const NSDescriptionView::HtmlWindow& window) {
    if (!window.link.empty()) console_.say(window.name + ": " + window.link);
}

Application::Application(Session& session)
    : session_(session), shell_(session.console()), delegate_(shell_, session.progress()) {}

int Application::run(const std::function<void(AppDelegate&)>& action) {
    return session_.untilIdle([&] {
        verifyNeededFolders();
        delegate_.apps().loadLocalAppsBlock([&] { action(delegate_); });
        return int{done};
    });
}

int Application::install(const std::function<void(AppActions&)>& action) {
    session_.provideSite();
    if (const auto news = newsOfSandbox()) session_.console().say(*news);
    const int ended = run([&](AppDelegate& app) { action(app.actions()); });
    // An error after which the installation went on is no failure of it.
    const bool isOver = ended == done || (ended == failed && !shell_.installed.empty());
    return isOver ? finished(session_, shell_.installed) : ended;
}

}  // namespace morvane::cli
