#include <algorithm>

#include "cli/application.h"
#include "cli/commands.h"
#include "cli/table.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "library/apps_questions.h"
#include "platform/process.h"
#include "wrapper/launch_check.h"
#include "wrapper/layout.h"
#include "wrapper/menu_scripts.h"
#include "wrapper/port_manager.h"
#include "wrapper/processes.h"
#include "wrapper/program_header.h"

namespace morvane::cli {

namespace {

/// Nothing, after the failure was said, when the path holds no wrapper.
std::optional<std::string> wrapperAt(Session& session, const std::string& app) {
    const std::string path = expandedPath(app);
    if (Wrapper(path).runsPrograms()) return path;
    session.fail(localized("%@ is not a wrapper.", {path}));
    return std::nullopt;
}

std::string executableOf(const std::string& wrapper) {
    const auto name = findSetting(LibraryItem(wrapper), wrapper_keys::bundleExecutable);
    if (!name || name->find('/') != std::string::npos) return Wrapper(wrapper).launcher();
    return wrapper + "/Contents/MacOS/" + *name;
}

/// Runs a launcher until its program ends, whose exit status is the result. What it prints is passed on.
int runToItsEnd(Session& session, const std::string& program, const std::vector<std::string>& arguments) {
    return session.onWorker([&] {
        const auto printed = [&session](std::string_view text) { session.console().passOn(text); };
        const auto ended = MVTask::runProgram(program, "~/", arguments, printed);
        return ended ? ended->ending.shellStatus()
                     : session.fail(localized("%@ could not be started.", {program}));
    });
}

}  // namespace

int run(Session& session, const std::string& app, Waiting waiting) {
    const LibraryItem item(expandedPath(app));
    const auto wrapper = item.isCustomEXE() ? std::nullopt : wrapperAt(session, app);
    if (!item.isCustomEXE() && !wrapper) return failed;
    const std::string program = item.isCustomEXE() ? item.launcher() : executableOf(*wrapper);
    if (waiting == Waiting::yes) return runToItsEnd(session, program, {});
    // Nobody hears what it says once it has been left to itself.
    if (const auto checked = checkLaunch(expandedPath(app)); !checked) return session.fail(checked.error());
    const auto started = processes::launch(program);
    return started ? static_cast<int>(done) : session.fail(localized("%@ could not be started.", {program}));
}

int debug(Session& session, const std::string& app) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    const int result = runToItsEnd(session, executableOf(*wrapper), {"debug"});
    const std::string logs = *wrapper + layout::resources + "/Logs/";
    session.console().print(localized("The logs are %@LastRunWine.log and %@LastRunX11.log", {logs, logs}));
    return result;
}

int stop(Session& session, const std::string& app) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    Application application(session);
    return session.untilIdle([&] {
        application.delegate().actions().stopItem(*wrapper, Asking::no);
        return int{done};
    });
}

int stopAll(Session& session) {
    NSAppsArray apps;
    return session.untilIdle([&] {
        apps_questions::askToKillAllCaskeryProcessesFromLocalApps(apps);
        return int{done};
    });
}

int exe(Session& session, const std::string& app, const std::string& file,
        const std::vector<std::string>& arguments, ProgramOutput output) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    const std::string program = expandedPath(file);
    if (!MVFileManager::regularFileExistsAtPath(program))
        return session.fail(localized("There is no file at %@.", {program}));
    if (!hasProgramEnding(program)) {
        return session.fail(
            localized("%@ is no Windows program (.exe, .com, .bat, .cmd, .msi or .lnk).", {program}));
    }
    std::vector<std::string> words{output == ProgramOutput::shown ? "CKS-console" : "CKS-installer", program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return runToItsEnd(session, Wrapper(*wrapper).tool(), words);
}

int tool(Session& session, const std::string& app, const std::string& name) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    return runToItsEnd(session, Wrapper(*wrapper).tool(), {"CKS-" + name});
}

int menu(Session& session, const std::string& app, const std::string& entry) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    const auto entries = wrapperMenu(*wrapper);
    if (entry.empty()) {
        Table table{{{"menu", marked("Menu")}, {"name", marked("Name")}}, {}};
        for (const MenuScript& script : entries) table.rows.push_back({script.menu, script.name});
        printTable(session.console(), table);
        return done;
    }
    const auto found = std::ranges::find(entries, entry, &MenuScript::name);
    if (found == entries.end()) {
        return session.fail(localized("The menu of %@ has no entry \"%@\".", {*wrapper, entry}));
    }
    // The "open" of its Help entries is a program of ours.
    return runToItsEnd(session, MVTask::getPathOfProgram("env").value_or("env"),
                       {"PATH=" + host().searchPath, Wrapper(*wrapper).tool(), "CKS-menu", found->path});
}

}  // namespace morvane::cli
