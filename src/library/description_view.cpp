// Filling the page of a game.

#include "library/description_view.h"

#include <array>
#include <cstdint>

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/catalogue_addresses.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "platform/styled_text.h"
#include "platform/utf8.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

constexpr std::int64_t firstKnownID = 2;

/// The texts of a description name the button "Download", as it was once titled.
StyledText withTodaysButtonTitle(const StyledText& text) {
    StyledText result;
    result.runs = text.runs;
    std::size_t unit = 0, run = 0, unitsOfRun = 0;
    const auto runAt = [&](std::size_t position) {
        while (run < result.runs.size() && position >= unitsOfRun + text.runs[run].length) {
            unitsOfRun += text.runs[run++].length;
        }
        return run;
    };
    for (std::size_t place = 0; place < text.text.size();) {
        bool replaced = false;
        for (const std::string_view quoted : {"“Download”", "„Download”", "‘Download’", "\"Download\""}) {
            if (!std::string_view(text.text).substr(place).starts_with(quoted)) continue;
            constexpr std::string_view title = "\"Install\"";
            // One character shorter: the run in which the text ends gives it.
            const std::size_t units = std::string_view("\"Download\"").size();
            const std::size_t last = runAt(unit + units - 1);
            if (last < result.runs.size()) result.runs[last].length -= units - title.size();
            result.text += title;
            place += quoted.size();
            unit += units;
            replaced = true;
            break;
        }
        if (replaced) continue;
        unit += utf8::utf16Length(text.text.substr(place, 1));
        result.text += text.text[place++];
    }
    return result;
}

double descriptionSize() {
    const std::int64_t size = settings::get(settings::descriptionFontSize);
    return size > 0 ? static_cast<double>(size) : settings::descriptionFontSize.fallback;
}

bool canBeRated(const NSGameData& game) {
    return game.isGameInTheServer || game.gameID >= firstKnownID;
}

}  // namespace

std::optional<std::string> linkOfSource(const NSGameData& game, const std::string& source) {
    if (!game.descriptionDictionary) return std::nullopt;
    const auto* link = game.descriptionDictionary->get<std::string>(filled("%@ Link", {source}));
    if (link == nullptr && source == "GOG") link = game.descriptionDictionary->get<std::string>("Gog Link");
    return link != nullptr && isWebLink(*link) ? std::optional(*link) : std::nullopt;
}

NSDescriptionView::NSDescriptionView(LibraryLayout layout, std::shared_ptr<NSProgressView> progress,
                                     Callbacks callbacks)
    : layout_(layout),
      progress_(std::move(progress)),
      callbacks_(std::move(callbacks)),
      page_(pageWithoutGame()),
      self_(std::make_shared<NSDescriptionView*>(this)),
      installation_(*this),
      actions_(*this),
      pages_(*this) {}

NSDescriptionView::~NSDescriptionView() {
    *self_ = nullptr;
}

void NSDescriptionView::onPage(const Handle& self, std::function<void(NSDescriptionView&)> work) {
    MVThread::dispatchBlockInMainQueue([self, work = std::move(work)] {
        if (*self != nullptr) work(**self);
    });
}

std::optional<std::string> NSDescriptionView::selectedGamePath() const {
    return gameData_ ? std::optional(gameData_->gamePath) : std::nullopt;
}

void NSDescriptionView::openCatalogueLine(const CatalogueLine& line) {
    openEntry(line.id, [line] { return std::optional(line); });
}

void NSDescriptionView::openCatalogueID(std::int64_t id) {
    openEntry(id, [id] { return requestedLineOfID(id); });
}

void NSDescriptionView::openEntry(std::int64_t id,
                                  std::function<Result<std::optional<CatalogueLine>>()> lineOf) {
    progress_->setMessage(localized("Loading app description..."), CreatingPort::no);
    progress_->showCreatingPort(CreatingPort::no);
    MVThread::dispatchQueueWithName(
        "app.morvane.loadDescription", Priority::normal,
        [self = self_, id, lineOf = std::move(lineOf), progress = progress_, click = ++clicks_] {
            const auto failWith = [&](const std::string& error) {
                progress->closeCreatingPort(CreatingPort::no);
                MVAlert::showAlertErrorMessage(error);
            };
            auto entry = entry_buffer::entryOf(id);
            if (!entry) {
                if (!NSUtilities::isWebsiteOfUrlAvailable(host().sites.catalogue)) {
                    return failWith(catalogue::unreachable());
                }
                const auto answer = lineOf();
                if (!answer) return failWith(answer.error().message());
                const auto& line = *answer;
                if (!line) return failWith(localized("Port not found!"));
                entry = NSGameData::initWithDictionary(line);
                entry_buffer::keep(id, entry);
            }
            onPage(self, [entry, click](NSDescriptionView& page) {
                // Who has clicked on something else meanwhile does not wait for this any more.
                if (click != page.clicks_) return;
                page.setGameData(entry, [&page] {
                    page.progress_->closeCreatingPort(CreatingPort::no);
                    if (page.callbacks_.selectPage) page.callbacks_.selectPage();
                });
            });
        });
}

void NSDescriptionView::openLocalItem(const std::string& path) {
    progress_->setMessage(localized("Loading app description..."), CreatingPort::no);
    progress_->showCreatingPort(CreatingPort::no);
    const unsigned click = ++clicks_;
    auto item = NSGameData::initWithPath(path);
    // A description that can't be read is told, and something else may be clicked meanwhile.
    if (click != clicks_) return;
    if (!item) {
        progress_->closeCreatingPort(CreatingPort::no);
        if (callbacks_.missingApp) callbacks_.missingApp(path);
        return;
    }
    setGameData(std::move(item), [this] {
        progress_->closeCreatingPort(CreatingPort::no);
        if (callbacks_.selectPage) callbacks_.selectPage();
    });
}

void NSDescriptionView::setGameData(Game game, std::function<void()> blockInTheEnd) {
    if (!game) return;
    onPage(self_, [game, block = std::move(blockInTheEnd)](NSDescriptionView& page) {
        page.gameData_ = game;
        page.fillPage();
        if (block) block();
    });
    if (callbacks_.pageChanged) loadDetails(std::move(game));
}

NSDescriptionView::Page NSDescriptionView::pageWithoutGame() {
    Page page;
    page.name = localized("Welcome to %@", {"Morvane"});
    page.description = styledText(localized("Choose a game to see its page."));
    page.descriptionSize = descriptionSize();
    return page;
}

void NSDescriptionView::loadDetails(Game game) {
    // A server that does not answer must not keep the page from being shown: what comes from it follows.
    MVThread::dispatchQueueWithName(
        "app.morvane.loadPageDetails", Priority::normal,
        [self = self_, game = std::move(game), layout = layout_, size = pages_.trailerViewSize()] {
            const auto later = [&](std::function<void(NSDescriptionView&)> work) {
                onPage(self, [game, work = std::move(work)](NSDescriptionView& page) {
                    if (page.gameData_ == game) work(page);
                });
            };
            // The grid's page has a view for the trailer in it.
            if (layout == LibraryLayout::grid && game->trailer && !game->trailer->empty()) {
                later([html = game->trailerHTMLwithSize(size.width, size.height),
                       link = *game->trailer](NSDescriptionView& page) {
                    page.pages_.showWindow(localized("Trailer"), html, link);
                });
            }
            later([icon = game->gameImage()](NSDescriptionView& page) {
                page.page_.icon = icon;
                page.callbacks_.pageChanged();
            });
            if (!canBeRated(*game)) return;
            later([stars = game->ratings.all()](NSDescriptionView& page) {
                page.page_.stars = stars;
                page.callbacks_.pageChanged();
            });
        });
}

void NSDescriptionView::setNullGameData() {
    gameData_.reset();
    page_ = pageWithoutGame();
    if (callbacks_.pageChanged) callbacks_.pageChanged();
}

void NSDescriptionView::itemRemoved(const std::string& path) {
    const auto shown = gameData_ && !gameData_->isGameInTheServer ? selectedGamePath() : std::nullopt;
    if (!shown) return;
    // A launcher in a wrapper that has only left the list is still there.
    const bool isGone = shown->starts_with(path + "/") && !MVFileManager::fileExistsAtPath(*shown);
    if (*shown == path || isGone) setNullGameData();
}

void NSDescriptionView::fillPage() {
    const NSGameData& game = *gameData_;
    page_ = Page{};
    page_.hasGame = true;
    page_.name = game.gameName;
    const bool isKnown = game.gameID >= firstKnownID;
    if (layout_ == LibraryLayout::grid) {
        page_.name = MVString::uppercased(game.gameName);
        if (isKnown) page_.name = filled("%@ (ID: %ld)", {page_.name, std::to_string(game.gameID)});
    } else if (isKnown) {
        page_.appID = localized("App ID: %ld", {std::to_string(game.gameID)});
    }
    const bool isDescribed = game.gameDescription && !game.gameDescription->text.empty();
    page_.description = isDescribed ? withTodaysButtonTitle(*game.gameDescription)
                                    : styledText(localized("No description available."));
    page_.descriptionSize = descriptionSize();
    page_.sources = setSourceIcons(game.gameSourcesList);
    page_.canBeRated = canBeRated(game);
    page_.stars = {};
    const std::string title = !game.isGameInTheServer ? localized("Play")
                              : game.isGameNative     ? localized("Buy")
                                                      : actionButtonInstallStringForGameData(game);
    page_.actionTitle = MVString::uppercased(title);
    if (callbacks_.pageChanged) callbacks_.pageChanged();
}

void NSDescriptionView::clickAction() {
    const Game game = gameData_;
    if (!game) return;
    if (game->isGameInTheServer) {
        installation_.installGame(game);
    } else {
        actions_.playGame(game);
    }
}

void NSDescriptionView::flagsChanged(Shift shift) {
    shift_ = shift;
    titleActionButton();
}

void NSDescriptionView::titleActionButtonWith(const std::string& title) {
    page_.actionTitle = MVString::uppercased(title);
    if (callbacks_.actionTitleChanged) callbacks_.actionTitleChanged();
}

void NSDescriptionView::titleActionButton() {
    if (!gameData_) return;
    const NSGameData& game = *gameData_;
    // A local item is what is installed; what lies elsewhere under the same ID says nothing about it.
    const bool isInstalled =
        game.isGameInTheServer ? validPortWithGameID(game.gameID).has_value() : game.gameID >= firstKnownID;
    std::string title;
    if (isInstalled) {
        title = shift_ == Shift::held ? localized("Debug") : localized("Play");
    } else if (!game.isGameInTheServer) {
        title = localized("Play");
    } else if (game.isGameNative) {
        title = localized("Buy");
    } else if (shift_ == Shift::held) {
        title = localized("Download CKI");
    } else {
        title = actionButtonInstallStringForGameData(game);
    }
    titleActionButtonWith(title);
}

std::vector<NSDescriptionView::MenuItem> NSDescriptionView::menuOf(const Game& shown) {
    if (!shown) return {};
    using View = NSDescriptionView;
    const NSGameData& game = *shown;
    const auto item = [&](const std::string& title, bool enabled, auto&& part, auto action) {
        // By the queue, which keeps the game: the menu may be made anew while the action asks something.
        return MenuItem{title, enabled, [self = self_, game = shown, part, action] {
                            onPage(self,
                                   [game, part, action](View& page) { ((page.*part)().*action)(game); });
                        }};
    };
    const auto get = [&](const std::string& title, bool enabled, auto action) {
        return item(title, enabled, &View::installation, action);
    };
    const auto act = [&](const std::string& title, bool enabled, auto action) {
        return item(title, enabled, &View::actions, action);
    };
    const auto show = [&](const std::string& title, auto action) {
        return item(title, true, &View::pages, action);
    };
    if (game.isGameInTheServer) {
        std::vector<MenuItem> menu{
            get(actionButtonInstallStringForGameData(game), true, &GameInstallation::installGame),
            get(localized("Download CKI"), !game.isGameNative, &GameInstallation::downloadGameCKI),
            show(localized("Instructions"), &GamePages::watchInstructions),
            show(localized("Watch Trailer"), &GamePages::playTrailer)};
        if (!game.crossoverAlternative.empty()) {
            menu.push_back(show(localized("CrossOver Alternative"), &GamePages::showCrossOverAlternative));
        }
        return menu;
    }
    const bool isWrapper = Wrapper(game.gamePath).runsPrograms();
    return {act(localized("Play"), true, &GameActions::playGame),
            act(localized("Debug"), isWrapper, &GameActions::debugGame),
            act(localized("Force Close"), true, &GameActions::forceCloseGame),
            act(localized("Properties"), true, &GameActions::gameProperties),
            act(localized("Install Mod/Patch"), isWrapper, &GameActions::installModPatch),
            act(localized("Open C: Drive"), isWrapper, &GameActions::openC_Drive),
            act(localized("Show in Finder"), true, &GameActions::showInFinder),
            act(localized("Task Manager"), isWrapper, &GameActions::taskManager),
            act(localized("Command Prompt"), isWrapper, &GameActions::commandPrompt),
            act(localized("Registry Editor"), isWrapper, &GameActions::registryEditor),
            act(localized("Wine Configuration"), isWrapper, &GameActions::wineConfiguration),
            act(localized("Open Control App"), isWrapper, &GameActions::launchCaskery),
            act(localized("Remove"), true, &GameActions::removeGame)};
}

}  // namespace morvane
