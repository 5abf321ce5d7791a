#include "library/game_data.h"
#include "library/trailer_pages.h"

#include "foundation/formats.h"
#include "library/icon_cache.h"
#include "library/library_machine.h"

namespace morvane {
namespace {

class GameData : public testing::LibraryMachine {
  protected:
    static std::string answerWith(const std::vector<std::pair<std::size_t, std::string>>& fields,
                                  std::size_t count = 14) {
        Lines all(count);
        for (const auto& [place, text] : fields) all[place] = text;
        std::string answer;
        for (const std::string& field : all) answer += (&field == &all[0] ? "" : " || ") + field;
        return answer;
    }
    std::shared_ptr<NSGameData> entryFrom(const std::string& answer) {
        site.answer("/ckis/portDescription.php", {.body = answer});
        return NSGameData::initWithDictionary(line);
    }
    [[nodiscard]] static std::vector<double> ratingsOf(NSGameData& entry) {
        return {entry.ratings.atiAmdRankingIndicator(), entry.ratings.nvidiaRankingIndicator(),
                entry.ratings.intelIrisRankingIndicator(), entry.ratings.intelHdRankingIndicator()};
    }
    [[nodiscard]] static std::string textOf(const NSGameData& entry) {
        return entry.gameDescription ? entry.gameDescription->text : "none";
    }

    const CatalogueLine line{.id = 12,
                             .creator = "Bob",
                             .name = "Half Life",
                             .isFree = true,
                             .path = site.baseAddress() + "ckis/Bob/12/",
                             .dependencyID = std::int64_t{1} << 40,
                             .isNative = true};
};

TEST_F(GameData, ACatalogueEntryIsCompletedByItsDescription) {
    settings::store(settings::descriptionFontSize, 13);
    const auto entry = entryFrom(answerWith({{6,
                                              "<p>A <b>bold</b> <a href='file:///etc/passwd'>x</a><a "
                                              "href='https://a.org/'>y</a><script>z</script></p>"},
                                             {7, "\"http://video/1\""},
                                             {8, "Action,Puzzle,"},
                                             {9, "Steam=>S;;Gog=>G=>cut;;nothing;;"},
                                             {11, "ATi/AMD:4.5, nvidia:3, Intel HD:nan, Intel Iris:2, "},
                                             {12, "0"},
                                             {13, "\"http://over/\""}}));
    EXPECT_EQ(site.requests(), Lines{"GET /ckis/portDescription.php?id=12"});
    EXPECT_TRUE(entry->isGameInTheServer && entry->isGameFree && !entry->isGameNative);
    EXPECT_EQ(entry->gameName, "Half Life");
    EXPECT_EQ(entry->gameID, 12);
    EXPECT_EQ(entry->gameDependencyID, 2147483647);
    EXPECT_EQ(entry->gamePath, line.path);
    EXPECT_EQ(entry->trailer, "http://video/1");
    EXPECT_EQ(entry->crossoverAlternative, "http://over/");
    EXPECT_EQ(entry->gameGenresList, (Lines{"Action", "Puzzle"}));
    EXPECT_EQ(entry->gameSourcesList, (Lines{"Steam", "GOG"}));
    EXPECT_EQ(ratingsOf(*entry), (std::vector<double>{4.5, 0, 2, 0}));
    EXPECT_EQ(site.requests().size(), 1U) << "known ratings are not asked for";
    ASSERT_EQ(textOf(*entry), "A bold xy");
    const std::vector<StyledRun> runs{{2, false, false, "Helvetica", 13, "", true},
                                      {4, true, false, "Helvetica-Bold", 13, "", true},
                                      {2, false, false, "Helvetica", 13, "", true},
                                      {1, false, false, "Helvetica", 13, "https://a.org/", true}};
    EXPECT_EQ(entry->gameDescription->runs, runs);
    EXPECT_EQ(entry->descriptionDictionary, (Dictionary{{"Steam Link", "S"},
                                                        {"Gog Link", "G"},
                                                        {"ID", 12},
                                                        {"Description", *entry->gameDescription},
                                                        {"Trailer", "http://video/1"},
                                                        {"CrossOverLink", "http://over/"}}));
    EXPECT_EQ(NSGameData::initWithDictionary(std::nullopt), nullptr);
}

TEST_F(GameData, TrailersPlayInTheirPages) {
    const std::string start = R"(<HTML><HEAD></HEAD><BODY bgcolor="black" style="margin: 0; padding: 0">)",
                      end = "</BODY></HTML>", plain = R"(<iframe width="64" height="-2" src=")",
                      plainEnd = R"(" frameborder="0" allowfullscreen></iframe>)",
                      none = NSUtilities::errorHTMLWithMessage("NO TRAILER AVAILABLE");
    const auto framed = [&](const std::string& address) { return start + plain + address + plainEnd + end; };
    const auto youTube = [&](const std::string& tail) {
        return framed("http://www.youtube.com/embed/aB?version=3" + tail + "&rel=0");
    };
    struct Row {
        std::string link, page;
    } const rows[] = {
        {"", none},
        {"file:///etc/passwd.png", none},
        {"javascript:alert(1)//http://", none},
        {"http", none},
        {"http://a/b?c=d&e='f'", framed("http://a/b?c=d&e='f'")},
        {"http://a/\"><script>x</script>", framed("http://a/&quot;&gt;&lt;script&gt;x&lt;/script&gt;")},
        {"HTTPS://a/b.gif", start + R"(<img width="64" height="-2" src="HTTPS://a/b.gif">)" + end},
        {"http://www.youtube.com/watch?v=aB", youTube("")},
        {"http://www.youtube.com/watch?v=aB?t=1h2m3s&x=9", youTube("&start=3723")},
        {"http://www.youtube.com/embed/aB?t=99999999999999999999h", youTube("&start=3600000000")},
    };
    NSGameData entry;
    for (const Row& row : rows) {
        entry.trailer = row.link;
        EXPECT_EQ(entry.trailerHTMLwithSize(64.9, -2.9), row.page) << row.link;
    }
    for (const auto& [link, player] :
         {std::pair{"https://vimeo.com/1", "https://player.vimeo.com/video/1\""},
          {"http://yahoo.com/v.html", "http://yahoo.com/v.html?format=embed\""},
          {"http://dailymotion.com/video/x1_title", "http://dailymotion.com/embed/video/x1\""},
          {"http://vube.com/a/b?c", "https://vube.com/embed/video/b?"},
          {"http://twitch.tv/x/c/1'a", "chapter_id=1&#39;a'"}})
        EXPECT_NE(videoPlayerPageFromLink(link, 1, 1).find(player), std::string::npos) << link;
    reachable = [](const std::string&) { return false; };
    entry.trailer = "http://a/b.png";
    EXPECT_EQ(entry.trailerHTMLwithSize(1, 1), NSUtilities::errorHTMLWithMessage("NO INTERNET CONNECTION"));
    EXPECT_EQ(videoPlayerPageFromLink(std::nullopt, 1, 1), none);
}

TEST_F(GameData, BadAnswersGiveACorruptedOrAnEmptyEntry) {
    struct Row {
        std::string name, answer;
        bool corrupted = true;
    } const rows[] = {{"empty", ""},
                      {"a page", "<html><body>502 || </body></html>"},
                      {"13 fields", answerWith({}, 13)},
                      {"not UTF-8", answerWith({{6, "\xFF"}})},
                      {"14 empty fields", answerWith({}), false},
                      {"short ends", answerWith({{8, ","}, {9, ";"}, {11, "A"}}), false},
                      {"very many", answerWith({{6, std::string(1 << 20, '<')}}, 20000), false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto entry = entryFrom(row.answer);
        EXPECT_EQ(
            textOf(*entry).starts_with("The selected game seems to be corrupted. Tell us about it in the "
                                       "tab \"Contact Us\"."),
            row.corrupted);
        EXPECT_EQ(entry->descriptionDictionary.has_value(), !row.corrupted);
        EXPECT_EQ(entry->trailer.has_value(), !row.corrupted);
        EXPECT_EQ(entry->gameSourcesList, row.corrupted ? Lines{} : Lines{"Other"});
        EXPECT_EQ(entry->gameGenresList, Lines{});
    }
    const auto entry = entryFrom("");
    site.answerInTurn("/ckis/portRating.php", {{.drop = true}, {.body = "NVIDIA: 3.5x, Intel HD:2"}});
    EXPECT_EQ(entry->ratings.nvidiaRankingIndicator(), 0);
    EXPECT_EQ(entry->ratings.nvidiaRankingIndicator(), 3.5) << "what is not known is asked for again";
    EXPECT_EQ(site.requests().back(), "GET /ckis/portRating.php?game=12");
    entry->gameID = 0;
    entry->ratings.loadRankingIndicatorValues();
    EXPECT_EQ(entry->ratings.intelHdRankingIndicator(), 0);
}

}  // namespace
}  // namespace morvane
