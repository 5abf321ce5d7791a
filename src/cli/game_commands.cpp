// What is done with an installed game, by the code of its page.

#include <unistd.h>

#include <array>

#include "cli/commands.h"
#include "cli/game_page.h"
#include "cli/table.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "wrapper/layout.h"
#include "wrapper/wrapper.h"

namespace morvane::cli {

namespace {

std::string realPathOf(const std::string& app) {
    // The processes of a wrapper know its real path.
    const std::string path = expandedPath(app);
    return files::resolved(path).value_or(path);
}

bool isWrapper(Session& session, const std::string& path) {
    if (Wrapper(path).runsPrograms()) return true;
    session.fail(localized("%@ is not a wrapper.", {path}));
    return false;
}

}  // namespace

int showGame(Session& session, const std::string& app) {
    GamePage page(session, GamePage::Details::no);
    const std::string path = expandedPath(app);
    return page.open(path, [&](NSDescriptionView& view) {
        printPage(session.console(), view, path);
        return int{done};
    });
}

int play(Session& session, const std::string& app) {
    session.provideSite();
    GamePage page(session, GamePage::Details::no);
    return page.open(realPathOf(app), [](NSDescriptionView& view) {
        view.actions().playGame(view.gameData());
        return int{done};
    });
}

int installMod(Session& session, const std::string& app, const std::vector<std::string>& paths,
               const std::string& to) {
    const std::string wrapper = realPathOf(app);
    if (!isWrapper(session, wrapper)) return failed;
    for (const std::string& path : paths) {
        if (!MVFileManager::fileExistsAtPath(expandedPath(path)))
            return session.fail(localized("There is nothing at %@.", {expandedPath(path)}));
    }
    ModPatch mod;
    for (const std::string& path : paths) mod.files.push_back(expandedPath(path));
    if (!to.empty()) mod.destination = expandedPath(to);
    bool isInstalled = false;
    const int ended = session.untilIdle([&] {
        installModPatchAtWrapper(
            wrapper, [&](bool installed) { isInstalled = installed; }, mod);
        return int{done};
    });
    return ended == done && !isInstalled ? session.fail(localized("Nothing was installed.")) : ended;
}

int showDrive(Session& session, const std::string& app) {
    const std::string drive = expandedPath(app) + layout::dosdevices + "/c:/";
    if (!MVFileManager::directoryExistsAtPath(drive))
        return session.fail(localized("drive_c folder not found."));
    const bool isForProgram = session.console().output() == Output::text && isatty(STDOUT_FILENO) == 0;
    if (isForProgram) {
        session.console().print(drive);
    } else {
        printRecord(session.console(), {{{"path", marked("Drive C")}, drive}});
    }
    return done;
}

int listLogs(Session& session, const std::string& app) {
    const std::string wrapper = expandedPath(app);
    if (!isWrapper(session, wrapper)) return failed;
    Table table{{{"log", marked("Log")}, {"bytes", marked("Bytes")}, {"path", marked("Path")}}, {}};
    for (const char* name : {"LastRunX11.log", "LastRunWine.log"}) {
        const std::string path = wrapper + layout::resources + "/Logs/" + name;
        const auto text = files::read(path);
        if (!text) continue;
        const auto bytes = static_cast<std::int64_t>(text->size());
        table.rows.push_back({name, bytes, path});
    }
    printTable(session.console(), table);
    return done;
}

}  // namespace morvane::cli
