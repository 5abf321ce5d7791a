#include "app/app_delegate.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "app/start_up.h"
#include "app/update_check.h"
#include "foundation/alerts.h"
#include "foundation/computer_information.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/threads.h"
#include "platform/host.h"

namespace morvane {
namespace {

LibraryLayout layoutFor(const ShellView& view) {
    const bool wantsList = NSUtilities::isUsingClassicLibraryLayout() && view.hasLayout(LibraryLayout::list);
    return wantsList || !view.hasLayout(LibraryLayout::grid) ? LibraryLayout::list : LibraryLayout::grid;
}

}  // namespace

AppDelegate::AppDelegate(ShellView& view, std::shared_ptr<NSProgressView> progress)
    : view_(view),
      progress_(std::move(progress)),
      layout_(layoutFor(view)),
      functionKeys_(std::make_shared<FunctionKeys>()),
      library_(apps_,
               {.reload = [this] { view_.changed(ShownPart::library); },
                .rowChanged = [this](std::size_t row) { view_.libraryRowChanged(row); },
                .installCkiFile = [this](const std::string& cki) { actions_.installCkiFile({.path = cki}); },
                .removed = [this](const std::string& path) { itemRemoved(path); }}),
      gamePage_(layout_, progress_, gamePageCallbacks()),
      latest_(NSRankingList::TableType::latest, rankingCallbacks(NSRankingList::TableType::latest)),
      popular_(NSRankingList::TableType::popular, rankingCallbacks(NSRankingList::TableType::popular)),
      highrated_(NSRankingList::TableType::highrated, rankingCallbacks(NSRankingList::TableType::highrated)),
      actions_({.apps = apps_,
                .library = library_,
                .gamePage = gamePage_,
                .view = view_,
                .progress = progress_,
                .showLibrary = [this] { showMorvaneTab(MorvaneTab::library); }}),
      self_(std::make_shared<AppDelegate*>(this)) {
    view_.setURLHandler([this](const std::string& link) { actions_.handleURLEvent(link); });
}

AppDelegate::~AppDelegate() {
    *self_ = nullptr;
    closeProperties();
    view_.setURLHandler({});
    view_.setNotificationHandler({});
}

void AppDelegate::onDelegate(const std::shared_ptr<AppDelegate*>& self,
                             std::function<void(AppDelegate&)> work) {
    MVThread::dispatchBlockInMainQueue([self, work = std::move(work)] {
        if (*self != nullptr) work(**self);
    });
}

NSDescriptionView::Callbacks AppDelegate::gamePageCallbacks() {
    return {.pageChanged = [this] { view_.changed(ShownPart::gamePage); },
            .actionTitleChanged = [this] { view_.changed(ShownPart::actionTitle); },
            .selectPage = [this] { view_.showGamePage(); },
            .showWindow = [this](const NSDescriptionView::HtmlWindow& window) { view_.showWindow(window); },
            .showVotingPanel = [this](const auto& panel) { view_.showVotingPanel(panel); },
            .votingPanelClosed = [this] { view_.votingPanelClosed(); },
            .addPort = [this](const std::string& path) { library_.addPort(path); },
            .removePort = [this](const std::string& path) { library_.forget(path); },
            .missingApp = [this](const std::string& path) { library_.missing(path); },
            .properties = [this](const std::string& path) { showProperties(path); },
            .runs = [this](const std::string& path) { return library_.runs(path); }};
}

NSRankingList::Callbacks AppDelegate::rankingCallbacks(NSRankingList::TableType type) {
    return {.reload = [this, type] { view_.rankingsChanged(type); },
            .openDescription =
                [this](std::int64_t id) {
                    showMorvaneTab(MorvaneTab::library);
                    const auto& lines = apps_.serverAppsArray();
                    const auto line = std::ranges::find(lines, id, &CatalogueLine::id);
                    if (line != lines.end()) return gamePage_.openCatalogueLine(*line);
                    gamePage_.openCatalogueID(id);
                }};
}

NSRankingList& AppDelegate::rankingList(NSRankingList::TableType type) {
    switch (type) {
        case NSRankingList::TableType::latest:
            return latest_;
        case NSRankingList::TableType::popular:
            return popular_;
        case NSRankingList::TableType::highrated:
            break;
    }
    return highrated_;
}

NSPreferencesView& AppDelegate::preferences() {
    if (!preferences_) {
        preferences_ = std::make_unique<NSPreferencesView>(NSPreferencesView::Callbacks{
            .changed = [this] { view_.changed(ShownPart::preferences); },
            .automaticallyChecksForUpdates = [](bool) { update_check::lookForUpdate(); },
            .appearanceChanged = [this] { beginWithWindowAppearance(); },
            .updateDockInGridView = [this] { view_.changed(ShownPart::dock); },
            .webViewZoomChanged = [this] { view_.changed(ShownPart::webViewZoom); }});
    }
    return *preferences_;
}

NSAppsFoldersList& AppDelegate::appsFolders() {
    if (!appsFolders_) {
        appsFolders_ = std::make_unique<NSAppsFoldersList>(
            apps_, NSAppsFoldersList::Callbacks{.changed = [this] { view_.changed(ShownPart::appsFolders); },
                                                .beep = [this] { view_.beep(); },
                                                .libraryLoaded = [this] { library_.reload(); }});
    }
    return *appsFolders_;
}

void AppDelegate::showMorvaneTab(MorvaneTab tab) {
    view_.showMorvaneTab(tab);
    tabChosen(tab);
}

void AppDelegate::tabChosen(MorvaneTab tab) {
    if (tab == MorvaneTab::rankings) loadRankings();
    if (tab == MorvaneTab::forum) loadForum();
}

void AppDelegate::loadRankings() {
    // The graphics card's family is what a program prints.
    MVThread::dispatchQueueWithName("app.morvane.loadRankings", Priority::normal, [self = self_] {
        const std::string card = NSComputerInformation::graphicCardType().value_or("");
        onDelegate(self, [card](AppDelegate& app) {
            for (NSRankingList* list : {&app.latest_, &app.popular_, &app.highrated_}) {
                list->loadRankingListForVideoCard(card);
            }
        });
    });
}

void AppDelegate::openRow(std::size_t row) {
    if (const LocalItem* item = library_.localItem(row)) {
        // A copy: while something is asked about the item, the rows may change.
        const std::string path = item->path;
        return gamePage_.openLocalItem(path);
    }
    if (const CatalogueLine* line = library_.catalogueLine(row)) gamePage_.openCatalogueLine(*line);
}

void AppDelegate::activateRow(std::size_t row) {
    const LocalItem* item = library_.localItem(row);
    if (item == nullptr || local_items::isMissing(item->path)) return openRow(row);
    const std::string path = item->path;
    if (!library_.isRunning(path)) actions_.shouldRunGameAtPath(path);
}

std::vector<NSDescriptionView::MenuItem> AppDelegate::menuOfRow(std::size_t row) {
    if (const LocalItem* item = library_.localItem(row)) {
        return gamePage_.menuOf(NSGameData::initWithPath(item->path));
    }
    const CatalogueLine* line = library_.catalogueLine(row);
    return line == nullptr ? std::vector<NSDescriptionView::MenuItem>()
                           : gamePage_.menuOf(entry_buffer::entryOf(line->id));
}

void AppDelegate::showProperties(const std::string& path) {
    const unsigned number = propertiesWindows_ + 1;
    // A save in the background may end when the application object is gone.
    const auto ifThere = [self = self_](const std::function<void(AppDelegate&)>& work) {
        if (*self != nullptr) work(**self);
    };
    const auto window = std::make_shared<NSPropertiesWindow>(NSPropertiesWindow::Callbacks{
        .changed =
            [ifThere, number] {
                // One that was closed may still be saving.
                ifThere([&](AppDelegate& app) {
                    const bool isShown = app.properties_ && number == app.propertiesWindows_;
                    if (isShown) app.view_.changed(ShownPart::properties);
                });
            },
        .refresh =
            [ifThere](const std::string& item, CustomEXE isCustomEXE) {
                ifThere([&](AppDelegate& app) {
                    app.apps_.refreshLocalPortAtPath(item, isCustomEXE);
                    app.library_.reload();
                });
            },
        .removeFromLibrary =
            [ifThere](const std::string& item) {
                ifThere([&](AppDelegate& app) {
                    app.apps_.removeLocalPort(item, [&app] { app.library_.reload(); });
                });
            },
        .addToLibrary =
            [ifThere](const std::string& item) {
                ifThere([&](AppDelegate& app) { app.library_.addPort(item); });
            },
        .reloadItem =
            [ifThere](const std::string& item) {
                ifThere([&](AppDelegate& app) { app.gamePage_.openLocalItem(item); });
            }});
    if (const auto shown = window->setDataFromWrapperAtPath(path); !shown) {
        return MVAlert::showAlertErrorMessage(shown.error().message());
    }
    closeProperties();
    properties_ = window;
    propertiesWindows_ = number;
    view_.showProperties(window);
}

void AppDelegate::itemRemoved(const std::string& path) {
    gamePage_.itemRemoved(path);
    const bool isGone = properties_ && !MVFileManager::fileExistsAtPath(properties_->wrapperPath());
    if (isGone) closeProperties();
}

void AppDelegate::closeProperties() {
    if (std::exchange(properties_, nullptr)) view_.propertiesClosed();
}

}  // namespace morvane
