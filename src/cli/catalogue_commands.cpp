#include <algorithm>

#include "building/agreement.h"
#include "cli/application.h"
#include "cli/commands.h"
#include "cli/game_page.h"
#include "cli/table.h"
#include "foundation/computer_information.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "library/ranking_list.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane::cli {

namespace {

/// Whether the game is sold there; its sources are said when not.
bool isSourceOf(Session& session, const NSGameData& game, const std::string& source) {
    const std::vector<std::string> sources = sourcesOf(game);
    if (std::ranges::find(sources, source) != sources.end()) return true;
    session.fail(localized("The sources of %@ are: %@",
                           {cellText(game.gameName), cellText(MVString::joined(sources, ", "))}));
    return false;
}

Table tableOf(const std::vector<CatalogueLine>& lines) {
    Table table{{{"id", marked("ID")},
                 {"name", marked("Name")},
                 {"creator", marked("Creator")},
                 {"free", marked("Free")},
                 {"new", marked("New")},
                 {"native", marked("Native")},
                 {"country", marked("Country")},
                 {"dependency", marked("Add-on of")}},
                {}};
    for (const CatalogueLine& line : lines) {
        table.rows.push_back({line.id, line.name, line.creator, line.isFree, line.isNew,
                              line.isNative.value_or(false), line.country, line.dependencyID.value_or(0)});
    }
    return table;
}

Value valueOf(const NSRankingList::Row& row, NSRankingList::TableType type) {
    switch (type) {
        case NSRankingList::TableType::latest:
            return row.date;
        case NSRankingList::TableType::popular:
            return row.downloads;
        case NSRankingList::TableType::highrated:
            return row.rate;
    }
    return {};
}

}  // namespace

int listCatalogue(Session& session, const std::vector<std::string>& words) {
    session.provideSite();
    NSAppsArray apps;
    const int ended = session.untilIdle([&] {
        apps.loadServerAppsBlock(
            [&] { apps.loadToArrayAppsFromTab(catalogueTab, MVString::joined(words, " "), {}); });
        return int{done};
    });
    if (ended != done && ended != failed) return ended;
    if (apps.catalogueState() != NSAppsArray::CatalogueState::loaded) return failWithoutCatalogue(session);
    if (const auto* lines = std::get_if<std::vector<CatalogueLine>>(&apps.array())) {
        printTable(session.console(), tableOf(*lines));
    }
    // A line that cannot be read is told; the others are listed all the same.
    return done;
}

int showCatalogueEntry(Session& session, std::int64_t id) {
    GamePage page(session, GamePage::Details::yes);
    const int ended = page.open(id, [](NSDescriptionView&) { return int{done}; });
    if (page.view().gameData()) printPage(session.console(), page.view(), "");
    return ended;
}

int installFromCatalogue(Session& session, std::int64_t id, const std::string& source,
                         const std::string& to) {
    GamePage page(session, GamePage::Details::no);
    const auto target = to.empty() ? std::nullopt : std::optional(expandedPath(to));
    const int ended = page.open(id, [&](NSDescriptionView& view) {
        const auto game = view.gameData();
        if (game->isGameNative) {
            GameInstallation::openBuyingLinkForNativeGame(game);
            return session.fail(localized("%@ is a native game: it is bought, and not installed here.",
                                          {cellText(game->gameName)}));
        }
        if (!source.empty() && !isSourceOf(session, *game, source)) return int{failed};
        if (!doYouAgreeWithTheLicenseAgreement()) return int{failed};
        if (source.empty()) {
            view.installation().chooseDownloadSource(game, target);
        } else {
            view.installation().downloadCkiOfSourceWithName(game, source, target);
        }
        return int{done};
    });
    // What was installed is shown afterwards. An error after which the installation went on is no failure of
    // it.
    const auto game = page.view().gameData();
    const bool installed = game && !game->isGameInTheServer;
    if (ended != done && !(ended == failed && installed)) return ended;
    return finished(session, installed ? game->gamePath : "");
}

int rateCatalogueEntry(Session& session, std::int64_t id, int stars) {
    GamePage page(session, GamePage::Details::no);
    bool canBeRated = false;
    page.vote = [&](NSVotingPanel& panel) {
        canBeRated = true;
        session.console().say(cellText(panel.title()));
        panel.clickStar(stars);
        panel.applyVote();
    };
    const int ended = page.open(id, [](NSDescriptionView& view) {
        view.pages().rateGame(view.gameData());
        return int{done};
    });
    return ended == done && !canBeRated ? session.fail(localized("That port can't be rated.")) : ended;
}

int listRankings(Session& session, const std::string& name) {
    using Type = NSRankingList::TableType;
    const Type type = name == "latest" ? Type::latest : name == "popular" ? Type::popular : Type::highrated;
    session.provideSite();
    NSRankingList list(type, {});
    const int ended = session.untilIdle([&] {
        list.loadRankingListForVideoCard(NSComputerInformation::graphicCardType().value_or(""));
        return int{done};
    });
    if (ended == done && !list.hasAnswered()) return failWithoutCatalogue(session);
    const char* heading = type == Type::latest    ? marked("Date")
                          : type == Type::popular ? marked("Downloads")
                                                  : marked("Rate");
    Table table{{{"id", marked("ID")},
                 {MVString::lowercased(heading), heading},
                 {"name", marked("Name")},
                 {"creator", marked("Creator")}},
                {}};
    for (std::size_t index = 0; index < list.numberOfRows(); ++index) {
        const NSRankingList::Row& row = list.row(index);
        table.rows.push_back({row.id, valueOf(row, type), row.name, row.creator});
    }
    printTable(session.console(), table);
    return ended;
}

int savePortFile(Session& session, std::int64_t id, const std::string& source, const std::string& file) {
    GamePage page(session, GamePage::Details::no);
    std::string path = expandedPath(file);
    if (!path.ends_with(".cki")) path += ".cki";
    if (files::kindOf(path) != files::Kind::none)
        return session.fail(localized("%@ exists already.", {path}));
    const int ended = page.open(id, [&](NSDescriptionView& view) {
        const auto game = view.gameData();
        if (!isSourceOf(session, *game, source)) return int{failed};
        view.installation().downloadGameCKITo(game, source, path);
        return int{done};
    });
    if (ended == done) session.console().print(path);
    return ended;
}

}  // namespace morvane::cli
