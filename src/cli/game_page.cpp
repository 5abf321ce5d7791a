#include "cli/game_page.h"

#include <unistd.h>

#include <utility>

#include "cli/table.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/text.h"
#include "library/catalogue_addresses.h"
#include "platform/host.h"

namespace morvane::cli {

namespace {

std::string kindOf(const NSGameData& game) {
    if (game.isBoxerGame) return "boxer";
    if (game.isCustomEXE) return localized("custom exe");
    return game.isGameNative ? "native" : "wrapper";
}

void printParagraphs(Console& console, const std::string& text) {
    std::string paragraphs;
    for (const std::string& line : MVString::split(text, "\n")) {
        paragraphs += wordWrapped(cellText(line), 80) + "\n";
    }
    console.print("\n" + paragraphs);
}

}  // namespace

GamePage::GamePage(Session& session, Details details)
    : session_(session), view_(LibraryLayout::list, session.progress(), callbacks(details)) {}

NSDescriptionView::Callbacks GamePage::callbacks(Details details) {
    NSDescriptionView::Callbacks callbacks;
    if (details == Details::yes) callbacks.pageChanged = [] {};
    callbacks.selectPage = [this] { std::exchange(opened_, {})(); };
    callbacks.showWindow = [this](const NSDescriptionView::HtmlWindow& window) {
        session_.console().say(window.link.empty() ? window.name : window.name + ": " + window.link);
    };
    callbacks.addPort = [this](const std::string& path) { apps_.addLocalPort(path, {}); };
    callbacks.showVotingPanel = [this](const auto& panel) {
        if (vote) vote(*panel);
    };
    callbacks.gameEnded = [this](int status) { gameStatus_ = status; };
    callbacks.missingApp = [this](const std::string& path) {
        session_.fail(localized("There is nothing at %@.", {path}));
    };
    return callbacks;
}

int GamePage::run(const std::function<int(NSDescriptionView&)>& action, const std::function<int()>& begin) {
    int result = failed;
    opened_ = [&] { result = action(view_); };
    const int ended = session_.untilIdle(begin);
    if (ended != done) return ended;
    return result == done ? gameStatus_.value_or(done) : result;
}

int GamePage::open(std::int64_t id, const std::function<int(NSDescriptionView&)>& action) {
    session_.provideSite();
    return run(action, [&] {
        if (!canReachCatalogue(session_)) return int{failed};
        const auto answer = requestedLineOfID(id);
        if (!answer) return failWithoutCatalogue(session_);
        const auto& line = *answer;
        if (!line)
            return session_.fail(localized("The catalogue has no port of the ID %@.", {std::to_string(id)}));
        view_.openCatalogueLine(*line);
        return int{done};
    });
}

int GamePage::open(const std::string& path, const std::function<int(NSDescriptionView&)>& action) {
    return run(action, [&] {
        view_.openLocalItem(path);
        return int{done};
    });
}

bool canReachCatalogue(Session& session) {
    if (NSUtilities::isWebsiteOfUrlAvailable(host().sites.catalogue)) return true;
    failWithoutCatalogue(session);
    return false;
}

int failWithoutCatalogue(Session& session) {
    const int code = session.fail(catalogue::unreachable());
    session.console().say(localized("The catalogue's address is \"%@\".", {host().sites.catalogue}));
    return code;
}

void printPage(Console& console, const NSDescriptionView& view, const std::string& path) {
    const auto shown = view.gameData();
    const NSGameData& game = *shown;
    const auto list = [](const std::vector<std::string>& texts) {
        Array array;
        for (const std::string& text : texts) array.emplace_back(text);
        return array;
    };
    Record record{{{"id", marked("ID")}, game.gameID}, {{"name", marked("Name")}, game.gameName}};
    if (game.isGameInTheServer) {
        const auto& stars = view.page().stars;
        record.push_back({{"genres", marked("Genres")}, list(game.gameGenresList)});
        record.push_back({{"free", marked("Free")}, game.isGameFree});
        record.push_back({{"native", marked("Native")}, game.isGameNative});
        record.push_back({{"dependency", marked("Add-on of")}, std::int64_t{game.gameDependencyID}});
        record.push_back({{"atiAmd", marked("ATi/AMD")}, stars[0]});
        record.push_back({{"nvidia", marked("NVIDIA")}, stars[1]});
        record.push_back({{"intelIris", marked("Intel Iris")}, stars[2]});
        record.push_back({{"intelHd", marked("Intel HD")}, stars[3]});
    } else {
        record.push_back({{"path", marked("Path")}, path});
        record.push_back({{"kind", marked("Kind")}, kindOf(game)});
    }
    record.push_back({{"sources", marked("Sources")}, list(game.gameSourcesList)});
    record.push_back({{"trailer", marked("Trailer")}, game.trailer.value_or("")});
    record.push_back({{"action", marked("Action")}, view.page().actionTitle});
    const std::string& description = view.page().description.text;
    const bool isForAPerson = console.output() == Output::text && isatty(STDOUT_FILENO) == 1;
    if (!isForAPerson) record.push_back({{"description", marked("Description")}, description});
    printRecord(console, record);
    if (isForAPerson) printParagraphs(console, description);
}

}  // namespace morvane::cli
