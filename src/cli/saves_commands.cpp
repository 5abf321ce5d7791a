#include <CLI/CLI.hpp>
#include <algorithm>

#include "building/tools.h"
#include "cli/arguments.h"
#include "cli/installed_app.h"
#include "cli/table.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "wrapper/saved_games.h"

namespace morvane::cli {

namespace {

std::string wordFor(saved_games::Occasion occasion) {
    switch (occasion) {
        case saved_games::Occasion::update:
            return "update";
        case saved_games::Occasion::restore:
            return "restore";
        default:
            return "asked";
    }
}

int listBackups(Session& session, const Wrapper& wrapper) {
    Table table{{{"backup", marked("Backup")},
                 {"made-for", marked("Made for")},
                 {"bytes", marked("Bytes")},
                 {"path", marked("Path")}},
                {}};
    for (const auto& backup : saved_games::backupsFor(wrapper)) {
        table.rows.push_back(
            {backup.name, wordFor(backup.occasion), static_cast<std::int64_t>(backup.bytes), backup.path});
    }
    printTable(session.console(), table);
    return done;
}

int backUp(Session& session, const Wrapper& wrapper) {
    return session.onWorker([&] {
        for (const std::string& link : saved_games::savesOf(wrapper).behind) {
            session.console().say(localized(
                "%@ is a link: what lies behind it is not part of the wrapper, and stays where it is.",
                {link}));
        }
        const auto backup = saved_games::backUp(wrapper, saved_games::Occasion::asked);
        if (!backup) return session.fail(backup.error());
        if (!*backup) return session.fail(localized("There are no saved games in %@.", {wrapper.path()}));
        session.console().print((*backup)->path);
        return static_cast<int>(done);
    });
}

/// The one of that name or path; without one, the newest that was not made for a restoration, which holds what was
/// to be replaced.
std::string backupOf(const Wrapper& wrapper, const std::string& given) {
    const auto backups = saved_games::backupsFor(wrapper);
    const auto meant = std::ranges::find_if(backups, [&](const auto& backup) {
        return given.empty() ? backup.occasion != saved_games::Occasion::restore : backup.name == given;
    });
    if (meant != backups.end()) return meant->path;
    return given.empty() ? "" : expandedPath(given);
}

int restore(Session& session, const Wrapper& wrapper, const std::string& given) {
    const std::string archive = backupOf(wrapper, given);
    if (archive.empty()) return session.fail(localized("There is no backup for %@.", {wrapper.name()}));
    if (files::kindBehind(archive) != files::Kind::file)
        return session.fail(localized("There is no backup at %@.", {archive}));
    return session.onWorker([&] {
        const building::SoleChange change;
        if (!change.granted()) return static_cast<int>(failed);
        const auto restored = saved_games::restore(wrapper, archive);
        if (!restored) return session.fail(restored.error());
        session.console().print(localized("%@ has the saved games of %@ again.",
                                          {wrapper.path(), files::lastComponent(archive)}));
        return static_cast<int>(done);
    });
}

int saves(Session& session, const std::string& app, const std::string& action, const std::string& backup) {
    const LibraryItem item(expandedPath(app));
    // Of a wrapper that is gone, the backups are still there.
    if (action == "list") return listBackups(session, item.wrapper());
    if (!item.wrapper().exists()) return session.fail(localized("%@ is not a wrapper.", {item.path()}));
    return action == "backup" ? backUp(session, item.wrapper()) : restore(session, item.wrapper(), backup);
}

}  // namespace

void addSavesCommand(CLI::App& app, Parsed& parsed) {
    CLI::App* saves = app.add_subcommand("saves", "the saved games of a wrapper, and backups of them");
    saves->add_option("APP", parsed.app, "the wrapper")->required();
    saves->add_option("ACTION", parsed.name, "what to do")
        ->required()
        ->check(CLI::IsMember({"list", "backup", "restore"}));
    saves->add_option("BACKUP", parsed.file, "of restore: a name of the list, or a path; else the newest");
    saves->callback([&] {
        parsed.command = [&](Session& session) {
            return cli::saves(session, parsed.app, parsed.name, parsed.file);
        };
    });
}

}  // namespace morvane::cli
