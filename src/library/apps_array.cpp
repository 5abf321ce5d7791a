#include "library/apps_array.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/apps_scan.h"
#include "library/menu_entries.h"
#include "library/moved_apps.h"
#include "library/name_order.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/processes.h"

namespace morvane {

namespace {

using List = std::vector<LocalItem>;

Value valueOf(const List& list) {
    Array entries;
    for (const LocalItem& item : list) {
        entries.push_back(Dictionary{{"Name", item.name}, {"Path", item.path}});
    }
    return entries;
}

std::unordered_set<std::string> pathsOf(const List& list) {
    std::unordered_set<std::string> paths;
    for (const LocalItem& item : list) paths.insert(item.path);
    return paths;
}

bool holds(const List& list, const std::string& path) {
    return std::ranges::find(list, path, &LocalItem::path) != list.end();
}

/// The list in memory with what others have done to the stored one since it was last seen.
List merged(const List& mine, const List& lastSeen, const std::optional<List>& stored) {
    // Without a list nobody has said what to remove: the settings were reset, or lost.
    if (!stored) return mine;
    if (mine == lastSeen) return *stored;
    const auto seen = pathsOf(lastSeen), known = pathsOf(mine);
    std::unordered_map<std::string, std::string> names;
    for (const LocalItem& item : *stored) names.emplace(item.path, item.name);

    List result;
    for (const LocalItem& item : mine) {
        const auto theirs = names.find(item.path);
        if (theirs != names.end()) {
            result.push_back({theirs->second, item.path});
        } else if (!seen.contains(item.path)) {
            result.push_back(item);
        }
    }
    std::ranges::copy_if(*stored, std::back_inserter(result), [&](const LocalItem& item) {
        return !seen.contains(item.path) && !known.contains(item.path);
    });
    return result;
}

void sortBySize(List& list, const std::function<bool()>& goOn) {
    std::unordered_map<std::string, std::uint64_t> sizes;
    for (const LocalItem& item : list) {
        if (!goOn()) return;
        sizes.emplace(item.path, MVFileManager::sizeOfDirectoryAtPath(item.path));
    }
    std::ranges::stable_sort(list, std::ranges::greater{},
                             [&](const LocalItem& item) { return sizes.at(item.path); });
}

void run(const NSAppsArray::Completion& completion) {
    if (completion) completion();
}

}  // namespace

NSAppsArray::~NSAppsArray() {
    *alive_ = false;
}

// ---- Loading and storing

List NSAppsArray::caskeryWrappersInLocalTab() const {
    List wrappers;
    std::ranges::copy_if(local_, std::back_inserter(wrappers),
                         [](const LocalItem& item) { return Wrapper(item.path).runsPrograms(); });
    return wrappers;
}

void NSAppsArray::loadLocalAppsBlock(Completion completion) {
    tellOfDamagedSettings();
    static_cast<void>(local_items::validAppsFolders());
    auto stored = local_items::storedList();
    if (!stored) return loadLocalAppsForTheFirstTimeBlock(std::move(completion));
    local_ = loaded_ ? merged(local_, stored_, stored) : *stored;
    stored_ = std::move(*stored);
    loaded_ = true;
    run(completion);
}

void NSAppsArray::loadLocalAppsForTheFirstTimeBlock(Completion completion) {
    afterScan_.push_back(std::move(completion));
    if (std::exchange(scanning_, true)) return;
    local_.clear();
    stored_.clear();
    loaded_ = false;
    MVThread::dispatchQueueWithName(
        "app.morvane.loadLocalAppsFirstTime", Priority::normal,
        [this, alive = alive_, folders = local_items::validAppsFolders()] {
            List found = scanAppsFolders(folders, [&] { return alive->load(); });
            MVThread::dispatchBlockInMainQueue([this, alive, found = std::move(found)] {
                if (*alive) takeScanned(found);
            });
        });
}

void NSAppsArray::takeScanned(List found) {
    change([&](List& list) {
        const auto known = pathsOf(list);
        std::ranges::copy_if(found, std::back_inserter(list),
                             [&](const LocalItem& item) { return !known.contains(item.path); });
        sortByName(list);
    });
    loaded_ = true;
    scanning_ = false;
    for (const Completion& completion : std::exchange(afterScan_, {})) run(completion);
}

void NSAppsArray::scanAgain(Completion completion) {
    whenLoaded([this, completion = std::move(completion)] {
        MVThread::dispatchQueueWithName(
            "app.morvane.scanAppsAgain", Priority::normal,
            [this, alive = alive_, folders = local_items::validAppsFolders(), completion] {
                List found = scanAppsFolders(folders, [&] { return alive->load(); });
                sortByName(found);
                MVThread::dispatchBlockInMainQueue([this, alive, found = std::move(found), completion] {
                    if (*alive) takeScannedAgain(found, completion);
                });
            });
    });
}

void NSAppsArray::takeScannedAgain(const List& found, Completion completion) {
    const auto identities = moved_apps::storedIdentities();
    auto moves = moved_apps::movesOf(merged(local_, stored_, local_items::storedList()), found, identities);
    const auto folders = local_items::validAppsFolders();
    for (const auto& [old, now] : moved_apps::Moves(moves)) {
        moves.merge(moved_apps::moveDeadLinks(old, now, folders));
    }
    change([&](List& list) {
        List now;
        for (LocalItem& item : list) {
            const auto move = moves.find(item.path);
            if (move == moves.end()) {
                now.push_back(std::move(item));
            } else if (const std::string& place = move->second; !holds(list, place) && !holds(now, place)) {
                const bool isLauncher = LibraryItem(place).isCustomEXE();
                now.push_back(local_items::generateDictionaryForWrapper(
                    place, isLauncher ? CustomEXE::yes : CustomEXE::no));
            }
        }
        for (const LocalItem& item : found) {
            if (!holds(now, item.path)) now.push_back(item);
        }
        list = std::move(now);
    });
    keepOrder(std::move(completion));
}

void NSAppsArray::whenLoaded(const std::function<void()>& work) {
    if (loaded_) return work();
    loadLocalAppsBlock(work);
}

void NSAppsArray::change(const std::function<void(List&)>& edit) {
    std::optional<List> changed;
    const bool isStored = settings::update(settings::appList, [&](const std::optional<Value>& stored) {
        changed = merged(local_, stored_, local_items::listOf(stored));
        edit(*changed);
        return valueOf(*changed);
    });
    if (!changed) edit(changed.emplace(local_));
    local_ = std::move(*changed);
    if (isStored) {
        stored_ = local_;
        moved_apps::rememberIdentities(local_);
        menu_entries::settleLater();
    } else {
        MVAlert::showAlertErrorMessage(localized("Error while writting file: %@", {host().defaults.path()}));
    }
}

void NSAppsArray::saveLocalAppList() {
    change([](List&) {});
}

// ---- Orders

void NSAppsArray::reorder(const std::string& queue, const std::function<void(List&)>& sort,
                          Completion completion) {
    MVThread::dispatchQueueWithName(
        queue, Priority::normal,
        [this, alive = alive_, copy = local_, sort, completion = std::move(completion)]() mutable {
            sort(copy);
            MVThread::dispatchBlockInMainQueue([this, alive, copy = std::move(copy), completion] {
                if (!*alive) return;
                // The list may have changed meanwhile: what the copy knows nothing of comes last.
                std::unordered_map<std::string, std::size_t> places;
                for (const LocalItem& item : copy) places.emplace(item.path, places.size());
                std::ranges::stable_sort(local_, {}, [&](const LocalItem& item) {
                    const auto place = places.find(item.path);
                    return place != places.end() ? place->second : places.size();
                });
                run(completion);
            });
        });
}

void NSAppsArray::reorderLocalAppsArrayByNameWithBlock(Completion completion) {
    reorder("app.morvane.reoderAppsByName", sortByName<LocalItem>, std::move(completion));
}

void NSAppsArray::reorderLocalAppsArrayBySizeWithBlock(Completion completion) {
    const auto sort = [alive = alive_](List& list) { sortBySize(list, [&] { return alive->load(); }); };
    reorder("app.morvane.reoderAppsBySize", sort, std::move(completion));
}

void NSAppsArray::reorderLocalAppsArrayBy(std::int64_t order, SavingOrder saving, Completion completion) {
    if (order != orderByName && order != orderBySize) return;
    if (saving == SavingOrder::yes) settings::set(settings::autoOrderAppsList, order);
    const auto sorted = [this, saving, completion = std::move(completion)] {
        if (saving == SavingOrder::yes) saveLocalAppList();
        run(completion);
    };
    if (order == orderByName) return reorderLocalAppsArrayByNameWithBlock(sorted);
    reorderLocalAppsArrayBySizeWithBlock(sorted);
}

void NSAppsArray::disableLocalAppsArrayAutoOrder() {
    settings::remove(settings::autoOrderAppsList);
}

std::optional<std::int64_t> NSAppsArray::autoOrder() {
    return settings::find(settings::autoOrderAppsList);
}

// ---- Single items

void NSAppsArray::addLocalPort(const std::string& given, Completion completion) {
    std::string path = given;
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    if (!isStorablePath(path)) {
        MVAlert::showAlertErrorMessage(
            localized("Couldn't add %@ to the library. Its path isn't valid text.", {path}));
        return run(completion);
    }
    whenLoaded([this, path, completion = std::move(completion)]() mutable {
        List items = local_items::checkForCustomEXEsInWrapper(path);
        items.insert(items.begin(), local_items::generateDictionaryForWrapper(path, CustomEXE::no));
        change([&](List& list) {
            for (const LocalItem& item : items) {
                if (isStorablePath(item.path) && !holds(list, item.path)) list.push_back(item);
            }
        });
        keepOrder(std::move(completion));
    });
}

void NSAppsArray::keepOrder(Completion completion) {
    const auto order = autoOrder();
    if (order != orderByName && order != orderBySize) return run(completion);
    reorderLocalAppsArrayBy(*order, SavingOrder::no, [this, completion = std::move(completion)] {
        saveLocalAppList();
        run(completion);
    });
}

void NSAppsArray::removeLocalPort(const std::string& path, Completion completion) {
    whenLoaded([this, path, completion = std::move(completion)] {
        auto gone = moved_apps::deadLinksInto(path, local_items::validAppsFolders());
        if (local_items::isMissing(path)) gone.push_back(path);
        change([&](List& list) {
            const auto item = std::ranges::find(list, path, &LocalItem::path);
            if (item == list.end()) return;
            list.erase(item);
            std::erase_if(list, [&](const LocalItem& other) {
                return local_items::isMissing(other.path) &&
                       std::ranges::any_of(gone, [&](const std::string& place) {
                           return other.path == place || other.path.starts_with(place + "/");
                       });
            });
        });
        run(completion);
    });
}

void NSAppsArray::moveLocalPortAtIndex(std::size_t from, std::size_t to) {
    if (from >= local_.size() || to >= local_.size()) return;
    // Named by its path: the stored list may have changed meanwhile.
    const std::string path = local_[from].path;
    change([&](List& list) {
        const auto item = std::ranges::find(list, path, &LocalItem::path);
        if (item == list.end()) return;
        LocalItem moved = std::move(*item);
        list.erase(item);
        const auto place = static_cast<std::ptrdiff_t>(std::min(to, list.size()));
        list.insert(list.begin() + place, std::move(moved));
    });
    disableLocalAppsArrayAutoOrder();
}

void NSAppsArray::refreshLocalPortAtPath(const std::string& path, CustomEXE isCustomEXE) {
    whenLoaded([this, path, isCustomEXE] {
        if (!holds(local_, path)) return;
        const LocalItem fresh = local_items::generateDictionaryForWrapper(path, isCustomEXE);
        change([&](List& list) {
            const auto item = std::ranges::find(list, path, &LocalItem::path);
            if (item != list.end()) *item = fresh;
        });
    });
}

// ---- What is shown

void NSAppsArray::loadToArrayAppsFromTab(std::int64_t tabType, std::string_view keywords,
                                         Completion completion) {
    tabType_ = tabType;
    const MVString::NameSearch search(keywords);
    const auto filtered = [&](const auto& source) {
        if (keywords.empty()) return source;
        std::remove_cvref_t<decltype(source)> found;
        searched_.resize(source.size());
        for (std::size_t place = 0; place < source.size(); ++place) {
            MVString::SearchedName& name = searched_[place];
            if (name.name != source[place].name) name = MVString::SearchedName(source[place].name);
            if (search.matches(name)) found.push_back(source[place]);
        }
        return found;
    };
    if (tabType == catalogueTab) {
        array_ = filtered(server_);
    } else {
        array_ = filtered(local_);
    }
    if (!completion) return;
    MVThread::dispatchBlockInMainQueue([alive = alive_, completion = std::move(completion)] {
        if (*alive) completion();
    });
}

// ---- Stopping

void NSAppsArray::killAllCaskeryProcessesFromLocalApps() {
    whenLoaded([this] {
        for (const LocalItem& item : local_) {
            NSUtilities::terminateAllCaskeryProcessesForWrapper(item.path, RemovingWrapper::no);
        }
        NSUtilities::terminateAllCaskeryProcessesForWrapper(std::nullopt, RemovingWrapper::no);
    });
}

void tellOfDamagedSettings() {
    const auto kept = host().defaults.takeKeptAside();
    if (!kept) return;
    MVAlert::showAlertMessage(
        localized(
            "Your settings were damaged, and are back at their defaults. The damaged file is kept at %@.",
            {*kept}),
        "Warning");
}

}  // namespace morvane
