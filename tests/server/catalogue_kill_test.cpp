#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <map>
#include <thread>
#include <tuple>
#include <vector>

#include "catalogue_machine.h"
#include "foundation/text.h"
#include "platform/process.h"

namespace morvane {
namespace {

using testing::Browser;
using testing::CatalogueMachine;

/// `morvane serve`, a process of its own.
class ServeProcess {
  public:
    explicit ServeProcess(const std::string& content) {
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0) return;
        process_ = ::fork();
        if (process_ == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::execl(MORVANE_BUILD_FOLDER "/bin/morvane", "morvane", "serve", "--content", content.c_str(),
                    "--listen", "127.0.0.1:0", "--votes-per-hour", "1000000", nullptr);
            ::_exit(127);
        }
        ::close(ends[1]);
        for (char byte = 0; ::read(ends[0], &byte, 1) == 1 && byte != '\n';) base += byte;
        ::close(ends[0]);
    }
    ~ServeProcess() {
        if (process_ > 0) end(SIGKILL);
    }
    ServeProcess(const ServeProcess&) = delete;
    ServeProcess& operator=(const ServeProcess&) = delete;

    /// The status that it ends with.
    int end(int signal) {
        int status = 0;
        ::kill(process_, signal);
        ::waitpid(std::exchange(process_, 0), &status, 0);
        return status;
    }

    std::string base;

  private:
    pid_t process_ = 0;
};

using Votes = std::map<std::tuple<std::string, std::int64_t, int>, std::int64_t>;

/// Votes, lists and downloads until the server is gone. What was answered, but for the vote under way.
struct Client {
    void work(const std::string& base, std::int64_t ports, std::atomic<int>& answered) {
        Browser browser(base);
        if (!browser.open(2)) return;
        const std::string voter = browser.cookie.substr(6, browser.cookie.find('.') - 6);
        for (std::int64_t turn = 0;; ++turn) {
            const std::int64_t game = 2 + turn % ports, stars = 1 + turn % 5;
            const int family = static_cast<int>(turn / ports % 4);
            const std::tuple vote(voter, game, family);
            votes.erase(vote);  // either of two values until it is answered
            const int status = browser.vote(game, cardFamilyNames.at(static_cast<std::size_t>(family)),
                                            std::to_string(stars));
            if (status == 0) return;
            EXPECT_EQ(status, 200);
            votes[vote] = stars;
            const HttpResponse recipe = http::fetch({base + "ckis/download.php?id=2&type=CD"});
            if (recipe.status != 200 || !recipe.error.empty()) return;
            ++downloads;
            if (http::fetch({base + "ckis/listPorts.php?developer=0&country=--"}).status != 200) return;
            ++answered;
            answered.notify_all();
        }
    }
    Votes votes;
    std::int64_t downloads = 0;
};

class KilledServer : public CatalogueMachine {};

TEST_F(KilledServer, HasEveryVoteThatItAnswered) {
    constexpr std::int64_t ports = 7;
    for (std::int64_t number = 0; number < ports; ++number)
        idOf(publish(port("Game " + std::to_string(number))));
    Votes expected;
    std::int64_t downloads = 0;
    for (const int enough : {20, 60}) {  // turns before each kill
        ServeProcess server(content);
        ASSERT_FALSE(server.base.empty());
        std::atomic<int> answered = 0;
        std::array<Client, 2> clients;
        std::vector<std::thread> threads;
        for (Client& client : clients) {
            threads.emplace_back([&] {
                client.work(server.base, ports, answered);
                answered = enough;  // also when it could not go on
                answered.notify_all();
            });
        }
        for (int seen = 0; seen < enough; seen = answered) answered.wait(seen);
        EXPECT_EQ(WTERMSIG(server.end(SIGKILL)), SIGKILL);
        for (std::thread& thread : threads) thread.join();
        for (const Client& client : clients) {
            EXPECT_GT(client.votes.size(), 0U);
            expected.insert(client.votes.begin(), client.votes.end());
            downloads += client.downloads;
        }
    }
    ServeProcess server(content);
    const std::string popular = http::fetch({server.base + "ckis/rankingPorts.php?type=popular&num=1"}).body;
    EXPECT_GE(std::stoll(MVString::split(popular + " || 0 || 0 || 0", " || ").at(3)), downloads) << popular;
    Database database(content + "/catalogue.db", Database::Durability::process, std::chrono::seconds(1));
    Votes found;
    for (const auto row = database.query("SELECT voter, port, family, stars FROM votes"); row->next();)
        found[{row->text(0), row->integer(1), static_cast<int>(row->integer(2))}] = row->integer(3);
    for (const auto& [vote, stars] : expected) EXPECT_EQ(found[vote], stars);
    const auto wrongSums = database.query(
        "SELECT 1 FROM ratings WHERE (votes, stars) IS NOT (SELECT count(*), sum(votes.stars) FROM votes "
        "WHERE votes.port = ratings.port AND votes.family = ratings.family)");
    EXPECT_FALSE(wrongSums->next());
    EXPECT_EQ(server.end(SIGTERM), 0);
}

/// What the program prints; its failure is the test's.
std::string printed(const std::string& program, std::vector<std::string> arguments) {
    const auto result = processes::run({.program = program, .arguments = std::move(arguments)});
    EXPECT_TRUE(result && result->ending.succeeded()) << program;
    return result ? MVString::trimmed(result->output) : std::string();
}

class SharedServer : public CatalogueMachine {};

TEST_F(SharedServer, KeepsVotesAndMailsWhileOtherProcessesUseItsDatabase) {
    const std::string database = content + "/catalogue.db";
    const auto found = processes::search("sqlite3", "/usr/bin:/bin");
    ASSERT_FALSE(found.empty());
    const auto counted = [&](const std::string& table) {
        return printed(found.front(), {database, "SELECT count(*) FROM " + table});
    };
    ServeProcess server(content);  // of an empty folder: it makes the database
    ASSERT_FALSE(server.base.empty());
    const PortToPublish game = port("Game");
    EXPECT_EQ(printed(MORVANE_BUILD_FOLDER "/bin/morvane",
                      {"serve", "add", content, *game.cki, "--name", game.name, "--creator", game.creator,
                       "--description", *game.description, "--icon", *game.icon}),
              "2");
    int voters = 0;
    const auto vote = [&] {
        Browser browser(server.base);
        ASSERT_TRUE(browser.open(2));
        EXPECT_EQ(browser.vote(2, "NVIDIA", "5"), 200);
        ++voters;
    };
    for (int turn = 0; turn < 3; ++turn) {
        vote();
        EXPECT_EQ(counted("votes"), std::to_string(voters));
        vote();
    }
    EXPECT_TRUE(http::fetch({server.base + "en/send_form_email.php", "comment=Hello"})
                    .body.starts_with("<!-- Success -->"));
    EXPECT_EQ(server.end(SIGTERM), 0);
    EXPECT_EQ(counted("votes"), std::to_string(voters));
    EXPECT_EQ(counted("mails"), "1");
}

}  // namespace
}  // namespace morvane
