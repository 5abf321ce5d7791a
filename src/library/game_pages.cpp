#include "library/game_pages.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/computer_information.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/catalogue_addresses.h"
#include "library/description_view.h"
#include "library/trailer_pages.h"
#include "platform/host.h"
#include "platform/http.h"
#include "platform/workspace.h"

namespace morvane {

namespace {

/// The number of the page's button for the CrossOver product; empty when there is none.
std::string crossTieOf(const std::string& page) {
    constexpr std::string_view before = "class=\"app_view_button button_tie\" data-url=\"";
    const std::size_t start = page.find(before);
    if (start == std::string::npos) return "";
    const std::string rest = page.substr(start + before.size(), 4096);
    const std::string tie = rest.substr(0, rest.find('"'));
    const bool isPlain =
        std::all_of(tie.begin(), tie.end(), [](unsigned char c) { return c > ' ' && c < 0x7f; });
    return isPlain ? tie : "";
}

void inBackground(const char* queue, std::function<void()> work) {
    MVThread::dispatchQueueWithName(queue, Priority::normal, std::move(work));
}

}  // namespace

GamePages::~GamePages() {
    closeVotingPanel();
}

void GamePages::rateGame(const GamePointer& game) {
    constexpr std::int64_t firstKnownID = 2;
    if (!game || game->gameName.empty() || game->gameID < firstKnownID) return;
    // The card's family is what a program prints.
    inBackground("app.morvane.descriptionViewRateGame", [self = page_.handle(), game] {
        NSDescriptionView::onPage(
            self, [game, card = NSComputerInformation::graphicCardType().value_or("")](
                      NSDescriptionView& page) { page.pages().openVotingPanel(*game, card); });
    });
}

void GamePages::openVotingPanel(const NSGameData& game, const std::string& card) {
    closeVotingPanel();
    const std::string title = localized("Rating \"%@\" on %@", {game.gameName, card});
    votingPanel_ = std::make_shared<NSVotingPanel>(
        game.gameID, title, [self = page_.handle(), number = ++votingPanels_] {
            // Not at once: it is the panel that calls.
            NSDescriptionView::onPage(self, [number](NSDescriptionView& page) {
                if (number == page.pages().votingPanels_) page.pages().closeVotingPanel();
            });
        });
    if (page_.callbacks().showVotingPanel) page_.callbacks().showVotingPanel(votingPanel_);
}

void GamePages::closeVotingPanel() {
    if (const auto panel = std::exchange(votingPanel_, nullptr);
        panel && page_.callbacks().votingPanelClosed) {
        page_.callbacks().votingPanelClosed();
    }
}

void GamePages::playTrailer(const GamePointer& game) {
    if (!game) return;
    if (!game->trailer || game->trailer->empty()) {
        MVAlert::showAlertMessage(localized("There is no trailer available."), "Warning");
        return;
    }
    // Whether there is a network at all is asked for first, which takes its time.
    inBackground("app.morvane.descriptionViewTrailer",
                 [self = page_.handle(), game, size = trailerViewSize_] {
                     const std::string html = game->trailerHTMLwithSize(size.width, size.height);
                     NSDescriptionView::onPage(self, [game, html](NSDescriptionView& page) {
                         page.pages().showWindow(localized("Trailer"), html, *game->trailer);
                     });
                 });
}

void GamePages::watchInstructions(const GamePointer& game) {
    if (game)
        watchInstructionsForSource(game,
                                   game->gameSourcesList.empty() ? "Other" : game->gameSourcesList.front());
}

void GamePages::watchInstructionsForSource(const GamePointer& game, const std::string& source) {
    if (!game) return;
    inBackground("app.morvane.descriptionViewInstructions",
                 [self = page_.handle(), source, free = game->isGameFree, size = trailerViewSize_] {
                     const auto linkFor = [](const std::string& name) {
                         const auto answer = catalogue::answerOf(catalogue::instructionsAddress(name));
                         return answer && MVString::isValidUtf8(*answer) ? MVString::trimmed(*answer) : "";
                     };
                     std::string link = linkFor(source);
                     if (link.empty()) link = linkFor(free ? "Free" : "Other");
                     const std::string page = videoPlayerPageFromLink(link, size.width, size.height);
                     NSDescriptionView::onPage(self, [page, link](NSDescriptionView& view) {
                         view.pages().showWindow(localized("Instructions"), page, link);
                     });
                 });
}

void GamePages::showCrossOverAlternative(const GamePointer& game) {
    if (!game || !isWebLink(game->crossoverAlternative)) return;
    inBackground("app.morvane.descriptionViewCrossOver", [address = game->crossoverAlternative] {
        const std::string tie = crossTieOf(catalogue::answerOf(address).value_or(""));
        const bool installs = !tie.empty() && workspace::opensScheme("com-codeweavers-crossover-crosstie");
        const std::string link =
            installs ? filled("com-codeweavers-crossover-crosstie:install?crosstie=%@", {tie}) : address;
        MVThread::dispatchBlockInMainQueue([link] { host().userInterface.openLink(link); });
    });
}

void GamePages::setTrailerViewSize(double width, double height) {
    trailerViewSize_ = {width, height};
}

void GamePages::showWindow(const std::string& name, const std::string& html, const std::string& link) const {
    if (page_.callbacks().showWindow) page_.callbacks().showWindow({name, html, link});
}

}  // namespace morvane
