#include "server/http_caching.h"

#include "catalogue_machine.h"
#include "server/http_listener.h"

namespace morvane {
namespace {

using testing::Browser;
using testing::CatalogueMachine;
using testing::portOf;
using testing::RawAnswer;
using testing::request;

HttpQuery get(std::map<std::string, std::string> headers) {
    return {.method = "GET", .headers = std::move(headers)};
}

TEST(HttpCaching, ADateHasOneSpelling) {
    EXPECT_EQ(httpDate(784111777), "Sun, 06 Nov 1994 08:49:37 GMT");
    EXPECT_EQ(timeOfHttpDate("Sun, 06 Nov 1994 08:49:37 GMT"), 784111777);
    for (const char* text : {"", "Mon, 06 Nov 1994 08:49:37 GMT", "Sun, 6 Nov 1994 08:49:37 GMT",
                             "Sun, 06 Nov 1994 08:49:37", "Sun, 06 Nov 1994 08:49:37 GMTx",
                             "Sun, 36 Nov 1994 08:49:37 GMT", "Sun, 06 Xyz 1994 08:49:37 GMT", "784111777"})
        EXPECT_FALSE(timeOfHttpDate(text)) << text;
}

TEST(HttpCaching, TagsComeBeforeDates) {
    const Validators state{"\"b\"", 784111777};
    const std::string same = "Sun, 06 Nov 1994 08:49:37 GMT", before = "Sun, 06 Nov 1994 08:49:36 GMT";
    struct Row {
        std::map<std::string, std::string> headers;
        bool kept;
    };
    for (const Row& row : {Row{{}, false},
                           {{{"if-none-match", "\"b\""}}, true},
                           {{{"if-none-match", "\"a\", W/\"b\""}}, true},
                           {{{"if-none-match", "*"}}, true},
                           {{{"if-none-match", "\"bb\""}}, false},
                           {{{"if-none-match", "b"}}, false},
                           {{{"if-none-match", "\"a\""}, {"if-modified-since", same}}, false},
                           {{{"if-modified-since", same}}, true},
                           {{{"if-modified-since", before}}, false},
                           {{{"if-modified-since", "yesterday"}}, false}})
        EXPECT_EQ(isKept(get(row.headers), state), row.kept)
            << (row.headers.empty() ? "" : row.headers.begin()->second);
    EXPECT_FALSE(isKept({.method = "POST", .headers = {{"if-none-match", "*"}}}, state));
    EXPECT_FALSE(isKept(get({{"if-modified-since", same}}), {"\"b\"", std::nullopt}));
    EXPECT_TRUE(mayBePart(get({{"if-range", "\"b\""}}), state));
    EXPECT_FALSE(mayBePart(get({{"if-range", "W/\"b\""}}), state));
    EXPECT_FALSE(mayBePart(get({{"if-range", same}}), state));
}

TEST(HttpCaching, ATextIsAsOldAsItsFirstSightAndNeverOfThisSecond) {
    ChangeTimes times(2);
    EXPECT_EQ(times.of("/a", "1", 100), std::nullopt);
    EXPECT_EQ(times.of("/a", "1", 101), std::nullopt);
    EXPECT_EQ(times.of("/a", "1", 102), 100);
    EXPECT_EQ(times.of("/a", "2", 110), std::nullopt);
    EXPECT_EQ(times.of("/a", "1", 120), std::nullopt) << "what comes back has changed as well";
    EXPECT_EQ(times.of("/a", "1", 130), 120);
    // What is forgotten has changed anew, never before.
    EXPECT_EQ(times.of("/b", "1", 140), std::nullopt);
    EXPECT_EQ(times.of("/c", "1", 150), std::nullopt);
    EXPECT_EQ(times.of("/a", "1", 160), std::nullopt);
    EXPECT_EQ(times.of("/a", "1", 170), 160);
}

class CachedCatalogue : public CatalogueMachine {
  protected:
    RawAnswer ask(const std::string& path, const std::string& headers = "",
                  const char* method = "GET") const {
        return request(portOf(server->baseAddress()), method, path, headers);
    }
    void serve() { server = *CatalogueServer::start({.content = content}); }
    std::unique_ptr<CatalogueServer> server;
};

TEST_F(CachedCatalogue, EachKindOfAnswerSaysHowLongItKeeps) {
    idOf(publish(port("Game")));
    put(content + "/files/version.txt", "1.0\n");
    serve();
    struct Row {
        std::string path;
        int seconds;  ///< 0: asked for each time; -1: kept by nobody
    };
    for (const Row& row : {Row{"/", 60},
                           {"/ckis/listPorts.php?developer=0&country=--", 60},
                           {"/ckis/portRating.php?game=2", 10},
                           {"/ckis/Bob/2/CD.cki", 300},
                           {"/ckis/Bob/2/Icon.png", 3600},
                           {"/files/version.txt", 300},
                           {"/ckis/Bob/3/CD.cki", 10},
                           {"/ckis/download.php?id=2&type=CD", 0},
                           {"/ckis/facebook/ratePort.php?game=2", -1}}) {
        const RawAnswer first = ask(row.path);
        const std::string kept = first.header("Cache-Control"), tag = first.header("ETag");
        const std::string wanted = row.seconds > 0 ? "public, max-age=" + std::to_string(row.seconds)
                                                   : (row.seconds == 0 ? "no-cache" : "no-store");
        EXPECT_EQ(kept.substr(0, kept.find(", stale")), wanted) << row.path;
        if (first.status != 200 || row.seconds < 0) continue;
        EXPECT_EQ(ask(row.path).header("ETag"), tag) << row.path;
        const RawAnswer again = ask(row.path, "If-None-Match: " + tag + "\r\n");
        EXPECT_EQ(again.status, 304) << row.path;
        EXPECT_EQ(again.body, "") << row.path;
        EXPECT_EQ(again.header("ETag"), tag) << row.path;
        EXPECT_EQ(again.header("Cache-Control"), kept) << row.path;
        EXPECT_EQ(ask(row.path, "If-None-Match: " + tag + "\r\n", "HEAD").status, 304) << row.path;
    }
    EXPECT_EQ(request(portOf(server->baseAddress()), "POST", "/en/send_form_email.php", "", "comment=")
                  .header("Cache-Control"),
              "no-store");
    // A cache that has the file passes the question on, and it counts: one GET and one 304 of each above.
    EXPECT_EQ(ask("/ckis/rankingPorts.php?type=popular").body, "2 || Bob || Game || 3");
}

TEST_F(CachedCatalogue, WhatChangesHasAnotherTag) {
    PortToPublish game = port("Game");
    idOf(publish(game));
    serve();
    const std::vector<std::string> paths = {"/ckis/listPorts.php?developer=0&country=--",
                                            "/ckis/portDescription.php?id=2", "/ckis/Bob/2/CD.cki"};
    std::map<std::string, std::string> tags;
    for (const std::string& path : paths) tags[path] = ask(path).header("ETag");
    game.cki = cki("CD", "newer");
    game.free = true;
    idOf(publish(game));
    for (const std::string& path : paths) {
        const RawAnswer answer = ask(path, "If-None-Match: " + tags[path] + "\r\n");
        EXPECT_EQ(answer.status, 200) << path;
        EXPECT_NE(answer.header("ETag"), tags[path]) << path;
    }
    const std::string rating = "/ckis/portRating.php?game=2", tag = ask(rating).header("ETag");
    Browser browser(server->baseAddress());
    ASSERT_TRUE(browser.open(2));
    EXPECT_EQ(browser.vote(2, "NVIDIA", "5"), 200);
    EXPECT_EQ(ask(rating, "If-None-Match: " + tag + "\r\n").status, 200);
}

}  // namespace
}  // namespace morvane
