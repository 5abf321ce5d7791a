#include "library/game_data.h"
#include "library/trailer_pages.h"

#include <filesystem>

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

TEST_F(GameData, ALocalItemIsWhatLiesOnDisk) {
    const std::string wrapper = applications + "w.app", custom = wrapper + "/tool.app",
                      native = applications + "n.app", boxer = applications + "Foo.boxer",
                      built = applications + "built.app";
    makeWrapper(wrapper, "Wrapped");
    put(wrapper + "/mv_desc.ckii",
        *typed_stream::archive(
            Dictionary{{"ID", 34},
                       {"Description", StyledText{"text", {{4, true, true, "Times", 40, "x:y"}}}},
                       {"Trailer", "T"},
                       {"CrossOverLink", "C"},
                       {"Future", "kept"}}));
    putArchive(wrapper + "/mv_backup.cki", {{"Source", "Steam"}, {"ID", 99}});
    put(custom + "/Contents/MacOS/CustomEXE", "");
    putArchive(custom + "/mv_desc.ckii", {{"ID", "text"}, {"Trailer", 7}});
    put(native + "/Contents/MacOS/n", "");
    put(native + "/mv_desc.ckii", "<html>404</html>");
    put(boxer + "/Game Info.plist", property_lists::xml(Dictionary{{"CFBundleName", "Other"}}));
    makeWrapper(built);
    putArchive(built + "/mv_backup.cki", {{"ID", 55}, {"Source", 3}});
    put(applications + "broken.app/mv_backup.cki", "\x04\x0bstreamtyped cut");

    enum Kind { wrapped, launcher, boxed, other };
    struct Row {
        std::string path, name;
        std::int64_t id;
        Kind kind;
        const char *source, *error;
    } const rows[] = {
        {wrapper, "Wrapped", 34, wrapped, "Steam", ""},
        {custom, "tool", 1, launcher, "Steam", ""},
        {native, "n", 1, other, "Local", "That CKII file isn't available in the database."},
        {boxer, "Foo", 1, boxed, "Local", ""},
        {built, "built", 55, wrapped, "Local", ""},
        {applications + "broken.app", "broken", 1, other, "Local", "That CKII file is corrupted"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path);
        if (*row.error != 0) ui.expectError(row.error);
        const auto item = NSGameData::initWithPath(row.path);
        ASSERT_NE(item, nullptr);
        EXPECT_EQ(item->gameName, row.name);
        EXPECT_EQ(item->gameID, row.id);
        EXPECT_EQ(NSGameData::getIdentifierOfGameAtPath(row.path), row.id);
        EXPECT_EQ(item->isGameNative, row.kind == other);
        EXPECT_EQ(item->isCustomEXE, row.kind == launcher);
        EXPECT_EQ(item->isBoxerGame, row.kind == boxed);
        EXPECT_EQ(item->gameSourcesList, Lines{row.source});
        EXPECT_EQ(textOf(*item), row.path == wrapper ? "text" : "none");
        EXPECT_FALSE(item->isGameInTheServer);
    }
    const auto item = NSGameData::initWithPath(wrapper);
    EXPECT_EQ(item->gameDescription->runs,
              (std::vector<StyledRun>{{4, true, true, "Helvetica-BoldOblique", 0, "", true}}));
    EXPECT_EQ(item->trailer, "T");
    EXPECT_EQ(item->crossoverAlternative, "C");
    EXPECT_NE(item->descriptionDictionary->find("Future"), nullptr);
    EXPECT_EQ(NSGameData::initWithPath(applications + "gone.app"), nullptr);
    EXPECT_EQ(NSGameData::getIdentifierOfGameAtPath(applications + "gone.app"), 1);
}

TEST_F(GameData, IconsArePicturesOrNothing) {
    const std::string wrapper = applications + "w.app";
    makeWrapper(wrapper);
    put(wrapper + "/Contents/Resources/Game.icns", png(3));
    put(wrapper + "/Contents/secret.icns", png(4));
    const std::pair<const char*, double> rows[] = {
        {"Game", 3}, {"Game.icns", 3}, {"../secret", 0}, {"none", 0}};
    for (const auto& [name, width] : rows) {
        setPlist(wrapper, {{"CFBundleIconFile", name}});
        EXPECT_EQ(NSGameData::initWithPath(wrapper)->gameImage().value_or(ImageData{}).width, width) << name;
    }
    setPlist(wrapper, {});
    const auto item = NSGameData::initWithPath(wrapper);
    EXPECT_FALSE(item->gameImage());
    setPlist(wrapper, {{"CFBundleIconFile", "Game"}});
    EXPECT_TRUE(item->gameImage()) << "the next use tries again";

    const auto entry = entryFrom("");
    site.answerInTurn("/ckis/Bob/12/Icon.png", {{.body = "<html>"}, {.body = png(5)}});
    EXPECT_EQ(entry->gameImage(), ImageData{});
    const auto another = entryFrom("");
    EXPECT_EQ(another->gameImage()->width, 5);
    EXPECT_EQ(another->gameImage()->width, 5);
    EXPECT_EQ(site.requests().size(), 4U);
}

TEST_F(GameData, CatalogueIconsAreKeptForThirtyDays) {
    const std::string kept = icon_cache::pathForID(12);
    EXPECT_EQ(kept, home + "/Library/Application Support/Morvane/IconCache/12.png");
    const auto width = [&] { return icon_cache::icon(12, line.path).value_or(ImageData{}).width; };
    const std::string address = "/ckis/Bob/12/Icon.png";
    site.answerInTurn(address, {{.body = "no picture"}, {.drop = true}, {.body = png(2)}});
    EXPECT_EQ(width(), 2);
    EXPECT_EQ(width(), 2);
    EXPECT_EQ(site.requests().size(), 3U);
    std::filesystem::last_write_time(kept,
                                     std::filesystem::file_time_type::clock::now() - std::chrono::days(31));
    site.answer(address, {.body = png(3)});
    EXPECT_EQ(width(), 3);
    put(kept, "damaged");
    site.answer(address, {.body = "<html>"});
    EXPECT_EQ(width(), 0);
    EXPECT_EQ(site.requests().size(), 4U + icon_cache::attempts) << "not for ever";
    EXPECT_EQ(files::kindOf(kept), files::Kind::none);
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

TEST_F(GameData, VideosHaveStillPictures) {
    const struct {
        const char *link, *picture;
    } rows[] = {
        {"https://www.youtube.com/watch?v=aB-_12&t=3", "https://img.youtube.com/vi/aB-_12/hqdefault.jpg"},
        {"https://youtu.be/aB1?t=1m", "https://img.youtube.com/vi/aB1/hqdefault.jpg"},
        {"http://www.youtube-nocookie.com/embed/x1", "https://img.youtube.com/vi/x1/hqdefault.jpg"},
        {"https://www.dailymotion.com/video/x2_name", "https://www.dailymotion.com/thumbnail/video/x2"},
        {"http://site/shot.png", "http://site/shot.png"},
        {"https://www.youtube.com/watch?v=../../x", ""},
        {"https://vimeo.com/123", ""},
        {"file:///etc/shot.png", ""},
        {"javascript:youtu.be/x", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(stillPictureOfLink(row.link).value_or(""), row.picture) << row.link;
}

}  // namespace
}  // namespace morvane
