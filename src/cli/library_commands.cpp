#include <algorithm>
#include <functional>
#include <unordered_map>

#include "app/start_up.h"
#include "building/build_record.h"
#include "cli/application.h"
#include "cli/commands.h"
#include "cli/table.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "library/apps_array.h"
#include "library/icon_cache.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane::cli {

namespace {

/// Calls the work, on the main thread, with the library loaded; a first scan comes before. The exit code is
/// what the work has left in `result` when everything has ended.
int onLibrary(Session& session, const std::function<void(NSAppsArray&, int& result)>& work) {
    NSAppsArray apps;
    int result = done;
    const int ended = session.untilIdle([&] {
        verifyNeededFolders();
        apps.loadLocalAppsBlock([&] { work(apps, result); });
        return int{done};
    });
    return ended == done ? result : ended;
}

/// For programs, which may draw them.
void addIcons(Table& table, const std::vector<LocalItem>& items) {
    table.columns.push_back({"icon", marked("Icon")});
    for (std::size_t row = 0; row < items.size(); ++row) {
        const auto path = icon_cache::localIconPath(items[row].path);
        const bool isThere = path && files::kindBehind(*path) == files::Kind::file;
        table.rows[row].push_back(isThere ? *path : "");
    }
}

void printItems(Console& console, const NSAppsArray& apps, const std::vector<LocalItem>& items) {
    std::unordered_map<std::string, std::int64_t> places;
    for (const LocalItem& item : apps.localAppsArray()) {
        places.emplace(item.path, static_cast<std::int64_t>(places.size()) + 1);
    }
    Table table{{{"place", marked("Place")},
                 {"name", marked("Name")},
                 {"path", marked("Path")},
                 {"missing", marked("Missing")},
                 {"unfinished", marked("Unfinished")}},
                {}};
    for (const LocalItem& item : items) {
        table.rows.push_back({places.at(item.path), item.name, item.path, local_items::isMissing(item.path),
                              isUnfinished(Wrapper(item.path))});
    }
    if (console.output() == Output::json) addIcons(table, items);
    printTable(console, table);
}

bool holds(const NSAppsArray& apps, const std::string& path) {
    return std::ranges::find(apps.localAppsArray(), path, &LocalItem::path) != apps.localAppsArray().end();
}

}  // namespace

int listLibrary(Session& session, const std::vector<std::string>& words) {
    return onLibrary(session, [&](NSAppsArray& apps, int&) {
        apps.loadToArrayAppsFromTab(localTab, MVString::joined(words, " "), {});
        printItems(session.console(), apps, std::get<std::vector<LocalItem>>(apps.array()));
    });
}

int scanLibrary(Session& session) {
    return onLibrary(session, [&](NSAppsArray& apps, int&) {
        apps.scanAgain([&] { printItems(session.console(), apps, apps.localAppsArray()); });
    });
}

int addToLibrary(Session& session, const std::vector<std::string>& paths) {
    return onLibrary(session, [&](NSAppsArray& apps, int& result) {
        for (const std::string& given : paths) {
            const std::string path = expandedPath(given);
            if (!path.ends_with(".app") && !path.ends_with(".boxer")) {
                result =
                    session.fail(localized("Couldn't add %@ to the library. Incompatible application type.",
                                           {files::lastComponent(path)}));
            } else if (files::kindBehind(path) != files::Kind::folder) {
                result = session.fail(localized("There is no application at %@.", {path}));
            } else {
                apps.addLocalPort(path, {});
                if (!holds(apps, path)) result = failed;
            }
        }
    });
}

int removeFromLibrary(Session& session, const std::string& given, RemovedFrom from) {
    const std::string path = expandedPath(given);
    bool removed = false;
    Application application(session);
    const NSAppsArray& apps = application.delegate().apps();
    const auto tell = [&](const Removal& removal) {
        removed = !holds(apps, path);
        if (!removal.inTrash) return;
        session.console().say(
            localized("%@ lies in the trash now (%@).",
                      {path, NSUtilities::humanReadableSizeForBytes(static_cast<std::int64_t>(removal.bytes),
                                                                    DecimalMeasureSystem::yes)}));
    };
    bool isListed = false;
    const int ended = application.run([&](AppDelegate& app) {
        isListed = holds(apps, path);
        if (isListed) app.actions().removeItem(path, from, tell);
    });
    if (ended != done) return ended;
    if (!isListed) return session.fail(localized("%@ is not in the library.", {path}));
    return removed ? int{done} : session.fail(localized("%@ was not removed.", {path}));
}

int orderLibrary(Session& session, const std::string& order) {
    return onLibrary(session, [&](NSAppsArray& apps, int&) {
        if (order == "none") return NSAppsArray::disableLocalAppsArrayAutoOrder();
        apps.reorderLocalAppsArrayBy(order == "size" ? orderBySize : orderByName, SavingOrder::yes, {});
    });
}

int moveInLibrary(Session& session, std::size_t from, std::size_t to) {
    return onLibrary(session, [&](NSAppsArray& apps, int& result) {
        const std::size_t count = apps.localAppsArray().size();
        if (from < 1 || from > count || to < 1 || to > count) {
            result = session.fail(localized("The library has the places 1 to %@.", {std::to_string(count)}));
        } else {
            apps.moveLocalPortAtIndex(from - 1, to - 1);
        }
    });
}

int listAppsFolders(Session& session) {
    Table table{{{"folder", marked("Folder")}, {"exists", marked("Exists")}}, {}};
    for (const std::string& folder : local_items::validAppsFolders()) {
        table.rows.push_back({folder, files::kindBehind(folder) == files::Kind::folder});
    }
    printTable(session.console(), table);
    return done;
}

int changeAppsFolders(Session& session, FolderChange change, const std::string& given) {
    const std::string folder = withFinalSlash(expandedPath(given));
    if (change == FolderChange::add && files::kindBehind(folder) != files::Kind::folder)
        return session.fail(localized("There is no folder at %@.", {folder}));
    auto folders = local_items::validAppsFolders();
    const auto place = std::ranges::find(folders, folder);
    if (change == FolderChange::remove) {
        if (place == folders.end()) return session.fail(localized("%@ is no apps folder.", {folder}));
        folders.erase(place);
    } else if (place == folders.end()) {
        folders.push_back(folder);
    }
    if (!settings::store(settings::mainFolder, Array(folders.begin(), folders.end())))
        return session.fail(localized("%@ could not be written.", {host().defaults.path()}));
    return done;
}

}  // namespace morvane::cli
