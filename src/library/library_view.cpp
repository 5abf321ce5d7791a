#include "library/library_view.h"

#include <algorithm>
#include <utility>

#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/threads.h"
#include "library/apps_questions.h"
#include "library/game_data.h"
#include "platform/host.h"

namespace morvane {

LibraryView::LibraryView(NSAppsArray& apps, Callbacks callbacks)
    : apps_(apps),
      callbacks_(std::move(callbacks)),
      icons_([this](const std::string& key) { tellRowChanged(key); }),
      states_([this](const std::string& path) { tellRowChanged(path); }) {}

void LibraryView::showTab(std::int64_t tabType) {
    tabType_ = tabType;
    reload();
    if (tabType == catalogueTab) {
        apps_.loadServerAppsBlock(reloading());
    } else {
        apps_.loadLocalAppsBlock(reloading());
    }
}

void LibraryView::search(const std::string& keywords) {
    keywords_ = keywords;
    makeRows();
}

void LibraryView::reload() {
    icons_.refreshLocal();
    makeRows();
    lookAtItems();
}

void LibraryView::makeRows() {
    apps_.loadToArrayAppsFromTab(tabType_, keywords_, {});
    if (callbacks_.reload) callbacks_.reload();
}

void LibraryView::lookAtItems() {
    if (apps_.isLoaded()) {
        const std::vector<LocalItem> before = apps_.localAppsArray();
        apps_.loadLocalAppsBlock({});
        if (apps_.localAppsArray() != before) reload();
    }
    // Who draws no rows wants to hear of none.
    if (!callbacks_.rowChanged) return;
    std::vector<std::string> paths;
    for (const LocalItem& item : apps_.localAppsArray()) paths.push_back(item.path);
    if (!paths.empty()) states_.look(std::move(paths));
}

NSAppsArray::Completion LibraryView::reloading() {
    return [this, alive = std::weak_ptr(alive_)] {
        if (!alive.expired()) reload();
    };
}

std::size_t LibraryView::numberOfRows() const {
    return std::visit([](const auto& shown) { return shown.size(); }, apps_.array());
}

LibraryView::Row LibraryView::row(std::size_t row) const {
    if (const LocalItem* item = localItem(row)) {
        return {.title = item->name, .key = RowIcons::keyOf(*item), .state = states_.of(item->path)};
    }
    const CatalogueLine& line = *catalogueLine(row);
    return {.title = line.name, .isNew = line.isNew, .key = RowIcons::keyOf(line)};
}

std::vector<LibraryView::Row> LibraryView::rows() const {
    std::vector<Row> rows;
    rows.reserve(numberOfRows());
    for (std::size_t number = 0; number < numberOfRows(); ++number) rows.push_back(row(number));
    return rows;
}

std::shared_ptr<const ImageData> LibraryView::icon(std::size_t row) {
    if (const LocalItem* item = localItem(row)) return icons_.icon(*item);
    const CatalogueLine* line = catalogueLine(row);
    return line != nullptr ? icons_.icon(*line) : nullptr;
}

void LibraryView::tellRowChanged(const std::string& key) const {
    if (!callbacks_.rowChanged) return;
    const auto tell = [&](const auto& shown) {
        for (std::size_t row = 0; row < shown.size(); ++row) {
            if (RowIcons::keyOf(shown[row]) == key) return callbacks_.rowChanged(row);
        }
    };
    std::visit(tell, apps_.array());
}

const LocalItem* LibraryView::localItem(std::size_t row) const {
    const auto* items = std::get_if<std::vector<LocalItem>>(&apps_.array());
    return items != nullptr && row < items->size() ? &(*items)[row] : nullptr;
}

const CatalogueLine* LibraryView::catalogueLine(std::size_t row) const {
    const auto* lines = std::get_if<std::vector<CatalogueLine>>(&apps_.array());
    return lines != nullptr && row < lines->size() ? &(*lines)[row] : nullptr;
}

std::vector<LibraryMenuItem> LibraryView::contextMenu() {
    if (tabType_ == catalogueTab) {
        return {{.title = localized("Refresh List"), .action = [this] { refreshList(); }}};
    }
    const auto order = [this](const char* title, std::int64_t by, SavingOrder saving) {
        const bool isKept = saving == SavingOrder::yes && NSAppsArray::autoOrder() == by;
        return LibraryMenuItem{.title = localized(title), .marked = isKept, .action = [this, by, saving] {
                                   apps_.reorderLocalAppsArrayBy(by, saving, reloading());
                               }};
    };
    const LibraryMenuItem nothing{.title = localized("Nothing"),
                                  .marked = !NSAppsArray::autoOrder(),
                                  .action = [] { NSAppsArray::disableLocalAppsArrayAutoOrder(); }};
    return {
        {.title = localized("Organize by"),
         .items = {order("Name", orderByName, SavingOrder::no), order("Size", orderBySize, SavingOrder::no)}},
        {.title = localized("Auto-organize by"),
         .items = {nothing, order("Name", orderByName, SavingOrder::yes),
                   order("Size", orderBySize, SavingOrder::yes)}}};
}

bool LibraryView::canDrag() const {
    // Rows of a search have other places than their items.
    return tabType_ == localTab && keywords_.empty();
}

void LibraryView::drag(std::size_t from, std::size_t to) {
    if (!canDrag()) return;
    apps_.moveLocalPortAtIndex(from, to);
    reload();
}

void LibraryView::add() {
    apps_questions::addByHand(apps_, callbacks_.installCkiFile, reloading());
}

void LibraryView::remove(const std::string& path) {
    apps_questions::shouldRemoveLocalPort(path, [this, path, alive = std::weak_ptr(alive_)] {
        if (!alive.expired()) forget(path);
    });
}

void LibraryView::missing(const std::string& path) {
    apps_questions::askAboutMissingApp(apps_, path, callbacks_.installCkiFile, reloading());
    if (callbacks_.removed) callbacks_.removed(path);
}

void LibraryView::forget(const std::string& path) {
    apps_.removeLocalPort(path, reloading());
    if (callbacks_.removed) callbacks_.removed(path);
}

void LibraryView::addPort(const std::string& path) {
    MVThread::dispatchBlockInMainQueue([this, path, alive = std::weak_ptr(alive_)] {
        if (!alive.expired()) apps_.addLocalPort(path, reloading());
    });
}

void LibraryView::refreshList() {
    apps_.clearServerAppsArray();
    entry_buffer::clear();
    icons_.refreshCatalogue();
    apps_.loadServerAppsBlock(reloading());
    // Without rows, and "loading", until it has come.
    makeRows();
}

}  // namespace morvane
