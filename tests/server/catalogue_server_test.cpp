#include "server/catalogue_server.h"

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <thread>

#include "catalogue_machine.h"
#include "foundation/text.h"
#include "platform/files.h"

namespace morvane {
namespace {

using testing::Browser;
using testing::CatalogueMachine;
using testing::portOf;
using testing::RawAnswer;
using testing::RawClient;
using testing::request;
using namespace std::chrono_literals;

class Catalogue : public CatalogueMachine {
  protected:
    /// A busy machine must not look like a database that is held.
    void serve(std::chrono::milliseconds patience = 60s) {
        auto started = CatalogueServer::start({.content = content, .patience = patience});
        ASSERT_TRUE(started);
        server = *std::move(started);
        base = server->baseAddress();
    }
    [[nodiscard]] HttpResponse fetch(const std::string& path) const { return http::fetch({base + path}); }
    [[nodiscard]] std::string text(const std::string& path) const { return fetch(path).body; }

    std::unique_ptr<CatalogueServer> server;
    std::string base;
};

TEST_F(Catalogue, AnswersInTheFormatsOfTheProtocol) {
    PortToPublish half = port("Half Life", "GOG");
    half.trailer = "https://v.example/watch?v=1";
    half.crossover = "https://c.example/hl";
    half.genres = {"Action", "Shooter"};
    half.sourceLinks = {"GOG=https://g.example/hl"};
    half.free = true;
    idOf(publish(half));
    half = port("Half Life", "");
    idOf(publish(half));  // a second source of the same port
    PortToPublish brazil = port("Half Life");
    brazil.country = "BR";
    idOf(publish(brazil));
    PortToPublish addOn = port("Éclair/Half Life: 100% & more?");
    addOn.dependency = 2;
    idOf(publish(addOn));
    PortToPublish native = port("2048");
    native.cki.reset();
    native.native = true;
    native.sourceLinks = {"Store=http://s.example/"};
    idOf(publish(native));
    PortToPublish secret = port("half baked");
    secret.developer = true;
    idOf(publish(secret));
    put(content + "/instructions", "GOG = https://v.example/gog\n");
    put(content + "/winetricks/winetricks", "#!/bin/sh\n");
    put(content + "/pages/news.html", "<h1>Our news</h1>");
    serve();
    const std::string general = "2 || Bob || Half Life || 1 || 1 || -- || 1 || 0 || 0";
    const std::string inBrazil = "3 || Bob || Half Life || 0 || 1 || BR || 1 || 0 || 0";
    const std::string added = "4 || Bob || Éclair/Half Life: 100% & more? || 0 || 1 || -- || 1 || 2 || 0";
    const std::string buy = "5 || Bob || 2048 || 0 || 1 || -- || 1 || 0 || 1";
    const std::string hidden = "6 || Bob || half baked || 0 || 1 || -- || 1 || 0 || 0";
    const std::string gog = get(cki("GOG"));
    const std::string disc = get(cki("CD"));
    const std::string bob = "ckis/Bob/";
    struct Row {
        std::string path, body;
        int status = 200;
    };
    for (const Row& row : std::vector<Row>{
             {"ckis/listPorts.php?developer=0&country=--", buy + "<br>" + general + "<br>" + added},
             {"ckis/listPorts.php?developer=1&country=br",
              buy + "<br>" + hidden + "<br>" + general + "<br>" + inBrazil + "<br>" + added},
             {"ckis/listPorts.php?search=half%20life", general + "<br>" + inBrazil + "<br>" + added},
             {"ckis/listPorts.php?search=HALF+LIFE&country=BR", inBrazil + "<br>" + general + "<br>" + added},
             {"ckis/listPorts.php?search=%C3%A9clair&country=--", added},
             {"ckis/listPorts.php?search=baked", ""},
             {"ckis/listPorts.php?search=", ""},
             {"ckis/portDescription.php?id=3&brief=true", inBrazil},
             {"ckis/portDescription.php?id=99&brief=true", ""},
             {"ckis/portDescription.php?id=2",
              "2 || Bob || Half Life || 1 || 1 || -- || <p>Good<br>fun.</p> || https://v.example/watch?v=1 "
              "|| "
              "Action,Shooter, || GOG=>https://g.example/hl;;Other=>;; || 0 || ATi/AMD:0, Intel HD:0, Intel "
              "Iris:0, NVIDIA:0,  || 0 || https://c.example/hl"},
             {"ckis/portDescription.php?id=2x", ""},
             {"ckis/portRating.php?game=5", "ATi/AMD:0, Intel HD:0, Intel Iris:0, NVIDIA:0"},
             {"ckis/portRating.php?game=1", ""},
             {"ckis/rankingPorts.php?type=popular&num=25&card=NVIDIA", ""},
             {"ckis/download.php?id=2&type=gog", gog},
             {"ckis/download.php?id=2&type=CD", "<html><body>There is no such file.</body></html>", 404},
             {"ckis/download.php?id=2&type=..%2FIcon", "<html><body>There is no such file.</body></html>",
              404},
             {"ckis/rankingPorts.php?type=popular&num=25&card=", "2 || Bob || Half Life || 1"},
             {bob + "2/GOG.cki", gog},
             {bob + "Half%20Life%20(BR)/CD.cki", disc},
             {bob + "%C3%89clair/Half%20Life:%20100%25%20%26%20more%3F/CD.cki", disc},
             {"ckis/Eve/2/GOG.cki", "<html><body>There is no such file.</body></html>", 404},
             {bob + "2/../3/CD.cki%00", "<html><body>There is no such file.</body></html>", 404},
             {"ckis/instructions.php?source=GOG", "https://v.example/gog"},
             {"ckis/winetricks/winetricks", "#!/bin/sh\n"},
             {"ckis/winetricks/%2e%2e%2Fcatalogue.db", "<HTML><BODY>There is no such file.</BODY></HTML>",
              404},
             {"catalogue.db", "<html><body>There is no such file.</body></html>", 404},
             {"blog/", "<h1>Our news</h1>"},
         }) {
        const HttpResponse response = fetch(row.path);
        EXPECT_EQ(response.status, row.status) << row.path;
        EXPECT_EQ(response.body, row.body) << row.path;
    }
    const std::string latest = text("ckis/rankingPorts.php?type=latest&num=2&card=x");
    EXPECT_TRUE(latest.starts_with("5 || Bob || 2048 || 20")) << latest;
    EXPECT_EQ(MVString::split(latest, "<br>").size(), 2U);
    EXPECT_NE(text("").find("<a href=\"mvid://4\">Éclair/Half Life: 100% &amp; more?</a>"),
              std::string::npos);
}

TEST_F(Catalogue, ARestIsGivenOfTheSameFileOnly) {
    idOf(publish(port("Game")));
    serve();
    const std::string path = "/ckis/download.php?id=2&type=CD";
    const auto restFor = [&](const std::string& mark) {
        return request(portOf(base), "GET", path, "Range: bytes=5-\r\nIf-Range: " + mark + "\r\n").status;
    };
    const std::string mark = request(portOf(base), "GET", path).header("ETag");
    EXPECT_TRUE(mark.starts_with('"')) << mark;
    EXPECT_EQ(restFor(mark), 206);
    EXPECT_EQ(restFor("\"another\""), 200);
    PortToPublish changed = port("Game");
    changed.cki = cki("CD", "newer");
    EXPECT_EQ(idOf(publish(changed)), 2);
    EXPECT_EQ(restFor(mark), 200);
}

TEST_F(Catalogue, OneVoterHasOneVoteForAGameAndACard) {
    idOf(publish(port("Game")));
    idOf(publish(port("Another")));
    serve();
    Browser first(base), second(base);
    ASSERT_TRUE(first.open(2));
    ASSERT_TRUE(second.open(2));
    EXPECT_FALSE(second.open(99));
    EXPECT_EQ(first.vote(2, "NVIDIA", "5"), 200);
    EXPECT_EQ(first.vote(2, "Intel HD", "1"), 200);
    EXPECT_EQ(second.vote(2, "NVIDIA", "2"), 200);
    EXPECT_EQ(text("ckis/portRating.php?game=2"), "ATi/AMD:0, Intel HD:1, Intel Iris:0, NVIDIA:3.5");
    ASSERT_TRUE(first.open(2));  // keeps who he is
    EXPECT_EQ(first.vote(2, "NVIDIA", "1"), 200);
    EXPECT_EQ(second.vote(3, "NVIDIA", "4"), 200);
    EXPECT_EQ(text("ckis/portRating.php?game=2"), "ATi/AMD:0, Intel HD:1, Intel Iris:0, NVIDIA:1.5");
    const std::string ranking = "ckis/rankingPorts.php?type=highrated&num=25&card=";
    EXPECT_EQ(text(ranking + "NVIDIA"), "3 || Bob || Another || 4.00<br>2 || Bob || Game || 1.50");
    EXPECT_EQ(text(ranking + "Intel%20HD"), "2 || Bob || Game || 1.00");
    EXPECT_EQ(text(ranking + "ATi/AMD"), "");
    EXPECT_EQ(text(ranking + "VOODOO"), "3 || Bob || Another || 4.00<br>2 || Bob || Game || 1.33");
    server.reset();
    serve();  // with the secret that it has
    EXPECT_EQ(Browser(base).vote(2, "NVIDIA", "5"), 403);
    Browser returned(base);
    returned.cookie = first.cookie;
    returned.token = first.token;
    EXPECT_EQ(returned.vote(2, "NVIDIA", "2"), 200);
    EXPECT_EQ(text("ckis/portRating.php?game=2"), "ATi/AMD:0, Intel HD:1, Intel Iris:0, NVIDIA:2");
}

TEST_F(Catalogue, AVoteNeedsTheFormOfItsOwnVoter) {
    idOf(publish(port("Game")));
    serve();
    Browser voter(base), other(base);
    ASSERT_TRUE(voter.open(2, "\"><script>"));
    ASSERT_TRUE(other.open(2));
    // Each signature of the voter in the other's place.
    const std::string identity = voter.cookie.substr(0, voter.cookie.rfind('.') + 1);
    const std::string signature = voter.cookie.substr(identity.size());
    struct Row {
        std::string cookie, token, card, stars;
        std::int64_t game;
        int status;
    };
    for (const Row& row : {Row{"", voter.token, "NVIDIA", "5", 2, 403},
                           {voter.cookie, "", "NVIDIA", "5", 2, 403},
                           {voter.cookie, other.token, "NVIDIA", "5", 2, 403},
                           {voter.cookie, signature, "NVIDIA", "5", 2, 403},
                           {identity + voter.token, voter.token, "NVIDIA", "5", 2, 403},
                           {"voter=me.0123", voter.token, "NVIDIA", "5", 2, 403},
                           {voter.cookie + "0", voter.token, "NVIDIA", "5", 2, 403},
                           {voter.cookie, voter.token, "NVIDIA", "6", 2, 400},
                           {voter.cookie, voter.token, "NVIDIA", "0", 2, 400},
                           {voter.cookie, voter.token, "NVIDIA", "5 ", 2, 400},
                           {voter.cookie, voter.token, "nvidia", "5", 2, 400},
                           {voter.cookie, voter.token, "NVIDIA", "5", 99, 404}}) {
        Browser browser(base);
        browser.cookie = row.cookie;
        browser.token = row.token;
        EXPECT_EQ(browser.vote(row.game, row.card, row.stars), row.status)
            << row.stars << row.card << row.cookie;
    }
    EXPECT_EQ(text("ckis/portRating.php?game=2"), "ATi/AMD:0, Intel HD:0, Intel Iris:0, NVIDIA:0");
    EXPECT_EQ(text("ckis/facebook/ratePort.php?game=2&card=%22%3E%3Cscript%3E").find("<script"),
              std::string::npos);
}

TEST_F(Catalogue, VotesOfOneAddressAreBounded) {
    idOf(publish(port("Game")));
    auto started = CatalogueServer::start({.content = content, .votesPerHour = 3, .behindProxy = true});
    const std::string address = (*started)->baseAddress();
    const auto vote = [&](const std::string& from) {
        Browser voter(address);  // a new one each time, as without cookies
        voter.proxied = "X-Forwarded-For: 10.0.0.9, " + from + "\r\n";
        return voter.open(2) ? voter.vote(2, "NVIDIA", "5") : 0;
    };
    for (int voter = 0; voter < 3; ++voter) EXPECT_EQ(vote("10.0.0.1"), 200);
    EXPECT_EQ(vote("10.0.0.1"), 429);
    EXPECT_EQ(vote("10.0.0.2"), 200);
    for (int voter = 0; voter < 4; ++voter)
        EXPECT_EQ(vote("2001:db8:1:2::" + std::to_string(voter)), voter < 3 ? 200 : 429) << "one network";
    Database database(content + "/catalogue.db", Database::Durability::process, 1s);
    const auto votes = database.query("SELECT count(*) FROM votes");
    EXPECT_TRUE(votes->next() && votes->integer(0) == 7);
}

TEST_F(Catalogue, MailsAreKeptAndBounded) {
    serve();
    const auto mail = [&](std::string body) {
        return http::fetch({base + "en/send_form_email.php", std::move(body)});
    };
    const std::string crash(700'000, '\n');
    std::string escaped;
    for (std::size_t line = 0; line < crash.size(); ++line) escaped += "%0A";
    EXPECT_TRUE(mail("name=A%20B&email=a@b&subject=%C3%A9t%C3%A9&comment=x" + escaped)
                    .body.starts_with("<!-- Success -->"));
    const HttpResponse empty = mail("name=a&email=b&subject=c&comment=%20");
    EXPECT_EQ(empty.status, 200);  // so that the application shows the text
    EXPECT_FALSE(empty.body.starts_with("<!--"));
    // 413, unless the connection has ended before the client, still sending, reads it.
    EXPECT_NE(mail(std::string(4'000'000, 'x')).status, 200);
    for (int sent = 1; sent < 10; ++sent) {
        EXPECT_TRUE(mail("comment=" + std::to_string(sent)).body.starts_with("<!-- Success -->"));
    }
    EXPECT_FALSE(mail("comment=more").body.starts_with("<!--"));
    Database database(content + "/catalogue.db", Database::Durability::process, 1s);
    const auto row = database.query("SELECT name, email, subject, comment, sender FROM mails ORDER BY id");
    ASSERT_TRUE(row->next());
    EXPECT_EQ(row->text(0) + row->text(1) + row->text(2), "A Ba@bété");
    EXPECT_EQ(row->text(3), "x" + crash);
    EXPECT_EQ(row->text(4), "127.0.0.1");
}

TEST_F(Catalogue, MailsOfADayAreBoundedWhoeverSendsThem) {
    serve();
    const auto isTaken = [&] {
        return http::fetch({base + "en/send_form_email.php", "comment=x"}).body.starts_with("<!-- Success");
    };
    EXPECT_TRUE(isTaken());
    Database database(content + "/catalogue.db", Database::Durability::process, 1s);
    database.script(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 999) "
        "INSERT INTO arrivals SELECT 'mail', i, unixepoch() - 7200 FROM n");
    EXPECT_FALSE(isTaken());
    database.script("UPDATE arrivals SET at = at - 86400 WHERE sender = '1'");
    EXPECT_TRUE(isTaken());
}

TEST_F(Catalogue, ADatabaseThatIsHeldLetsReadersInAndTurnsVotersAway) {
    idOf(publish(port("Game")));
    serve(50ms);
    Browser voter(base);
    ASSERT_TRUE(voter.open(2));
    {
        Database other(content + "/catalogue.db", Database::Durability::process, 1s);
        const Transaction holding(other);
        EXPECT_EQ(voter.vote(2, "NVIDIA", "5"), 503);
        EXPECT_EQ(fetch("ckis/portRating.php?game=2").status, 200);
        EXPECT_EQ(text("ckis/download.php?id=2&type=CD"), get(cki("CD")));
    }
    EXPECT_EQ(voter.vote(2, "NVIDIA", "5"), 200);
    EXPECT_EQ(text("ckis/portRating.php?game=2"), "ATi/AMD:0, Intel HD:0, Intel Iris:0, NVIDIA:5");
}

TEST_F(Catalogue, ClientsThatDawdleHoldNobodyUpAndEndWithTheServer) {
    serve();
    const int port = portOf(base);
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    std::vector<std::unique_ptr<RawClient>> slow;
    // Each takes two descriptors of this process.
    const std::size_t count = std::min<std::size_t>(1000, (limit.rlim_cur - 100) / 2);
    for (std::size_t client = 0; client < count; ++client) {
        slow.push_back(std::make_unique<RawClient>(port));
        ASSERT_TRUE(slow.back()->connected()) << client;
        slow.back()->send(
            client % 2 == 0
                ? "GET / HT"
                : "POST /en/send_form_email.php HTTP/1.1\r\nHost: a\r\nContent-Length: 100\r\n\r\nx");
    }
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(request(port, "GET", "/blog/").status, 200);
    server.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 10s) << "a head is waited for longer than that";
}

TEST_F(Catalogue, NoRequestHidesInAnother) {
    serve();
    const int port = portOf(base);
    const std::string hidden = "GET /blog/ HTTP/1.1\r\nHost: a\r\n\r\n";
    const std::string length = "Content-Length: " + std::to_string(hidden.size()) + "\r\n";
    const std::string mail = "POST /en/send_form_email.php HTTP/1.1\r\nHost: a\r\n";
    for (const std::string& head :
         {"GET / HTTP/1.1\r\nHost: a\r\n" + length, "HEAD / HTTP/1.1\r\nHost: a\r\n" + length,
          mail + "Content-Length: 0\r\n" + length, mail + length + "Content-Length: 0\r\n",
          mail + length + length, mail + length + "Transfer-Encoding: chunked\r\n",
          mail + "Transfer-Encoding: chunked\r\n" + length, mail + "Transfer-Encoding: identity\r\n",
          mail + "Content-Length: 0, 5\r\n", mail + "Content-Length: -1\r\n", mail + "Content-Length: +0\r\n",
          mail + "Content-Length: 99999999999999999999\r\n", mail + "Content-Length : 5\r\n",
          mail + "Transfer-Encoding\t: chunked\r\n", mail + "Transfer-Encoding:\r\n chunked\r\n",
          mail + "Content-Length:\r\n\t5\r\nX: y\r\n", mail + "X: y\rContent-Length: 5\r\n",
          std::string("DELETE / HTTP/1.1\r\nHost: a\r\n") + length}) {
        const RawClient client(port);
        client.send(head + "\r\n" + hidden);
        const std::string answers = client.receive();
        EXPECT_GE(RawAnswer(answers).status, 400) << head << answers;
        EXPECT_EQ(answers.find("HTTP/1.1 2"), std::string::npos) << head << answers;
        EXPECT_EQ(answers.find("no news"), std::string::npos) << head;
    }
    for (const std::string& zero : {std::string(), std::string("\0009", 2)}) {
        const RawClient client(port);
        client.send(mail + "Content-Length: 0" + zero + "\r\n\r\n" + hidden);
        EXPECT_EQ(client.receive().find("no news"), std::string::npos);
    }
    // Two that are whole are two.
    const RawClient client(port);
    client.send("GET / HTTP/1.1\r\nHost: a\r\n\r\n" + hidden);
    EXPECT_NE(client.receive(300).find("no news"), std::string::npos);
}

TEST_F(Catalogue, VotersThatWaitLeaveThreadsToReaders) {
    idOf(publish(port("Game")));
    serve();
    Browser voter(base);
    ASSERT_TRUE(voter.open(2));
    Database other(content + "/catalogue.db", Database::Durability::process, 1s);
    std::optional<Transaction> holding(std::in_place, other);
    std::vector<std::thread> threads;
    std::atomic<int> counted = 0;
    for (int vote = 0; vote < 12; ++vote)
        threads.emplace_back([&] { counted += Browser(voter).vote(2, "NVIDIA", "5") == 200 ? 1 : 0; });
    // Behind the voters, who wait as long as the database is held, no answer would come.
    for (int reader = 0; reader < 200; ++reader) EXPECT_EQ(fetch("ckis/portRating.php?game=2").status, 200);
    holding.reset();
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(counted, 12);
}

TEST_F(Catalogue, HeadersWithoutEndEndTheConnection) {
    serve();
    const RawClient endless(portOf(base));
    endless.send("GET / HTTP/1.1\r\n");
    int sent = 0;
    while (sent < 20'000 &&
           endless.send("X-" + std::to_string(sent) + ": " + std::string(1000, 'x') + "\r\n"))
        ++sent;
    EXPECT_LT(sent, 20'000) << "megabytes of headers, and still listening";
}

TEST_F(Catalogue, DoesNotStartWhereItCannotServe) {
    serve();
    const std::string taken = base.substr(7, base.size() - 8);
    put(folder.path + "/file", "");
    for (const std::string& listen : {taken, std::string(), std::string("8080"), std::string("127.0.0.1"),
                                      std::string("127.0.0.1:x"), std::string("127.0.0.1:70000")})
        EXPECT_FALSE(CatalogueServer::start({.content = content, .listen = listen})) << listen;
    EXPECT_FALSE(CatalogueServer::start({.content = folder.path + "/file"}));
    put(folder.path + "/damaged/catalogue.db", std::string(5000, 'x'));
    EXPECT_FALSE(CatalogueServer::start({.content = folder.path + "/damaged"}));
}

TEST_F(Catalogue, FilesOfTheFolderAndNothingElse) {
    const std::string root = content + "/files";
    put(root + "/file.txt", "whole");
    put(root + "/empty", "");
    put(root + "/sub/page.html", "<html>");
    put(root + "/archive/http:/127.0.0.1:80/a", "snapshot");
    put(root + "/.hidden", "secret");
    put(root + "/sub/.git/config", "secret");
    put(content + "/files-beside", "secret");
    for (const auto& [link, destination] : {std::pair{"/out", "../files-beside"},
                                            {"/up", ".."},
                                            {"/tohidden", ".hidden"},
                                            {"/in", "sub/page.html"}})
        EXPECT_TRUE(files::createSymbolicLink(root + link, destination));
    serve();
    for (const auto& [path, body] : {std::pair{"file.txt", "whole"},
                                     {"files/file.txt", "whole"},
                                     {"file.txt?v=1&w=../secret", "whole"},
                                     {"empty", ""},
                                     {"sub//page%2Ehtml", "<html>"},
                                     {"in", "<html>"},
                                     {"archive/http://127.0.0.1:80/a", "snapshot"}}) {
        EXPECT_EQ(fetch(path).status, 200) << path;
        EXPECT_EQ(text(path), body) << path;
    }
    for (const char* path :
         {"sub", "sub/", "none", ".hidden", "sub/.git/config", "tohidden", "out", "up/files-beside", "secret",
          "..%2Fsecret", "files/..%2Fsecret", "sub/%2e%2e/%2e%2e/secret", "file.txt%00.png"}) {
        EXPECT_EQ(fetch(path).status, 404) << path;
    }
}

}  // namespace
}  // namespace morvane
