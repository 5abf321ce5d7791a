#include <algorithm>

#include "building/outdated_wrapper.h"
#include "cli/commands.h"
#include "cli/table.h"
#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "library/saved_games.h"
#include "platform/files.h"

namespace morvane::cli {

namespace {

using saved_games::Backup;

int list(Session& session, const Wrapper& wrapper) {
    Table table{{{"number", "Number"},
                 {"date", "Date (UTC)"},
                 {"reason", "Made for"},
                 {"bytes", "Bytes"},
                 {"path", "Path"}},
                {}};
    for (const Backup& backup : saved_games::backupsOf(wrapper)) {
        table.rows.push_back({static_cast<std::int64_t>(table.rows.size()) + 1, backup.date,
                              saved_games::wordFor(backup.reason), static_cast<std::int64_t>(backup.bytes),
                              backup.path});
    }
    printTable(session.console(), table);
    return done;
}

Result<Backup> wanted(const Wrapper& wrapper, const std::string& given) {
    const auto backups = saved_games::backupsOf(wrapper);
    if (given.empty()) {
        if (!backups.empty()) return backups.front();
        return Failure{wrapper.path(), "there is no backup of its saved games"};
    }
    const bool isNumber =
        given.size() < 6 && std::ranges::all_of(given, [](char each) { return each >= '0' && each <= '9'; });
    if (!isNumber) return Backup{.path = expandedPath(given), .date = given};
    const std::size_t number = std::stoul(given);
    if (number >= 1 && number <= backups.size()) return backups[number - 1];
    return Failure{"There is no backup " + given, "", "See: morvane saves APP list"};
}

int restore(Session& session, const Wrapper& wrapper, const std::string& given) {
    const auto backup = wanted(wrapper, given);
    if (!backup) return session.fail(backup.error());
    if (files::kindBehind(backup->path) != files::Kind::file)
        return session.fail("There is no file at " + backup->path + ".");
    const bool replaces = !saved_games::foldersOf(wrapper).empty();
    if (replaces &&
        !MVAlert::showBooleanAlertMessage(
            localized("%@ holds saved games. Do you want to replace them by those of %@? A backup of them is "
                      "made before.",
                      {wrapper.path(), backup->date}),
            localized("Saved Games"), true)) {
        return session.endedWithoutResult();
    }
    if (const auto restored = saved_games::restore(*backup, wrapper); !restored)
        return session.fail(restored.error());
    session.console().print("The saved games of " + backup->date + " are in " + wrapper.path() + " now.");
    return done;
}

}  // namespace

int saves(Session& session, const std::string& app, SavesAction action, const std::string& backup) {
    const Wrapper wrapper(expandedPath(app));
    if (!wrapper.exists()) return session.fail(wrapper.path() + " is not a wrapper.");
    if (action == SavesAction::list) return list(session, wrapper);
    return session.onWorker([&] {
        if (building::isWrapperInUse(wrapper))
            return session.fail(wrapper.path() + " is running. End it first: morvane stop APP");
        if (action == SavesAction::restore) return restore(session, wrapper, backup);
        const auto made = saved_games::backUp(wrapper, saved_games::Reason::asked);
        if (!made) return session.fail(made.error());
        session.console().print(made->path);
        return int{done};
    });
}

}  // namespace morvane::cli
