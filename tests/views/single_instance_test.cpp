// A second start and the first, over a private bus and over the socket. The second is on a thread of its own, as it is
// a process of its own in life: the first needs its event loop.

#include "views/single_instance.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QEventLoop>
#include <QLocalSocket>
#include <QProcess>
#include <atomic>
#include <future>
#include <utility>

#include "platform/files.h"
#include "views/views_machine.h"

namespace morvane::views {
namespace {

using namespace std::chrono_literals;
using Kind = StartRequest::Kind;
using Role = SingleInstance::Role;

class PrivateBus {
  public:
    PrivateBus() {
        daemon_.start("dbus-daemon", {"--session", "--nofork", "--nosyslog", "--print-address=1",
                                      "--address=unix:tmpdir=/tmp"});
        while (!daemon_.canReadLine() && daemon_.waitForReadyRead(10'000)) {
        }
        address = daemon_.readLine().trimmed().toStdString();
    }
    ~PrivateBus() {
        daemon_.terminate();
        daemon_.waitForFinished();
    }
    std::string address;

  private:
    QProcess daemon_;
};

class OneProcess : public testing::ViewsMachine, public ::testing::WithParamInterface<bool> {
  protected:
    OneProcess() {
        if (!GetParam()) return;
        bus = std::make_unique<PrivateBus>();
        EXPECT_NE(bus->address, "");
    }
    [[nodiscard]] SingleInstance::Options options(const std::string& library = "home") const {
        return {.home = folder.path + "/" + library,
                .folder = runtime,
                .busAddress = bus ? bus->address : "",
                .patience = 5s};
    }
    [[nodiscard]] std::unique_ptr<SingleInstance> first(const SingleInstance::Options& with) {
        auto instance = std::make_unique<SingleInstance>(with);
        const auto role = instance->begin(std::nullopt);
        EXPECT_TRUE(role && *role == Role::first);
        EXPECT_FALSE(instance->trouble());
        instance->setHandler([this](const StartRequest& request) { received.push_back(request); });
        return instance;
    }
    /// Of another start, while this thread's event loop runs.
    Result<Role> start(const SingleInstance::Options& with, const std::optional<StartRequest>& request) {
        auto role = std::async(std::launch::async, [&] {
            SingleInstance instance(with);
            return instance.begin(request);
        });
        runUntil([&] { return role.wait_for(0s) == std::future_status::ready; });
        return role.get();
    }

    std::unique_ptr<PrivateBus> bus;
    // Longer than an address of a socket may be.
    const std::string runtime = folder.path + "/" + std::string(150, 'r');
    std::vector<StartRequest> received;
};

TEST_P(OneProcess, GetsWhatASecondStartWasGiven) {
    const auto instance = first(options());
    const std::vector<StartRequest> requests{
        {.kind = Kind::activate, .activationToken = "token-1"},
        {.kind = Kind::open,
         .items = {"/games/a b%20.cki", "/\xff.exe", "mvid://77"},
         .activationToken = "t"},
        {.kind = Kind::action, .action = "catalogue"},
    };
    for (const StartRequest& request : requests) {
        const auto role = start(options(), request);
        ASSERT_TRUE(role) << role.error().message();
        EXPECT_EQ(*role, Role::second);
    }
    runUntil([&] { return received.size() == requests.size(); });
    EXPECT_EQ(received, requests);
}

TEST_P(OneProcess, HasItsOwnRequestServedFirstAndThoseThatCameBeforeItWasReady) {
    SingleInstance instance(options());
    const StartRequest own{.kind = Kind::open, .items = {"/own.cki"}};
    const StartRequest other{.kind = Kind::open, .items = {"/other.cki"}};
    ASSERT_EQ(instance.begin(own).value(), Role::first);
    ASSERT_EQ(start(options(), other).value(), Role::second);
    EXPECT_EQ(received.size(), 0U);
    instance.setHandler([&](const StartRequest& request) { received.push_back(request); });
    runUntil([&] { return received.size() == 2; });
    EXPECT_EQ(received, (std::vector{own, other}));
}

TEST_P(OneProcess, ThatHangsIsWaitedForNoLongerThanTheLimit) {
    const auto instance = first(options());
    auto impatient = options();
    impatient.patience = 300ms;
    const auto begun = std::chrono::steady_clock::now();
    const auto role = std::async(std::launch::async, [&] {
                          SingleInstance second(impatient);
                          return second.begin(StartRequest{});
                      }).get();  // no event runs here meanwhile
    ASSERT_FALSE(role);
    EXPECT_EQ(role.error().what, "Morvane is running already, but does not answer");
    EXPECT_LT(std::chrono::steady_clock::now() - begun, 3s);
}

TEST_P(OneProcess, EndsAndTheNextIsFirst) {
    auto instance = first(options());
    auto next = std::async(std::launch::async, [this] {
        SingleInstance second(options());
        return second.begin(StartRequest{});
    });
    // It says that it ends, and takes a while for it.
    instance->stop();
    instance.reset();
    runUntil([&] { return next.wait_for(0s) == std::future_status::ready; });
    const auto role = next.get();
    ASSERT_TRUE(role) << role.error().message();
    EXPECT_EQ(*role, Role::first);
}

TEST_P(OneProcess, IsOneAlsoOfManyThatStartAtOnce) {
    constexpr int starts = 8;
    std::vector<std::future<bool>> roles;
    std::promise<void> end;
    const auto ended = end.get_future().share();
    std::atomic<int> firsts{0}, decided{0};
    for (int number = 0; number < starts; ++number) {
        roles.push_back(std::async(std::launch::async, [&, ended] {
            QEventLoop loop;
            SingleInstance instance(options());
            const auto role = instance.begin(StartRequest{});
            ++decided;
            if (!role || *role != Role::first) return role.has_value();
            ++firsts;
            while (ended.wait_for(0s) != std::future_status::ready) loop.processEvents();
            return true;
        }));
    }
    runUntil([&] { return decided == starts; });
    end.set_value();
    for (auto& role : roles) EXPECT_TRUE(role.get());
    EXPECT_EQ(firsts, 1);
}

INSTANTIATE_TEST_SUITE_P(Ways, OneProcess, ::testing::Bool(),
                         [](const auto& way) { return way.param ? "Bus" : "Socket"; });

class OneProcessWithoutABus : public OneProcess {
  protected:
    [[nodiscard]] std::string socketPath() const {
        const auto names = files::list(runtime).value();
        for (const std::string& name : names) {
            if (name.ends_with(".socket")) return "/" + name;
        }
        return "";
    }
};

TEST_P(OneProcessWithoutABus, IsOneForEachLibrary) {
    auto mine = first(options("mine"));
    const auto yours = first(options("yours"));
    mine.reset();
    put(folder.path + "/yours/x", "");
    ASSERT_TRUE(files::createSymbolicLink(folder.path + "/link", folder.path + "/yours"));
    EXPECT_EQ(start(options("link"), StartRequest{}).value(), Role::second);
    EXPECT_EQ(start(options("mine"), StartRequest{}).value(), Role::first);
}

TEST_P(OneProcessWithoutABus, ReplacesASocketThatADeadOneLeft) {
    put(runtime + "/x", "");
    auto dead = first(options());
    const std::string socket = runtime + socketPath();
    ASSERT_EQ(::link(socket.c_str(), (socket + "2").c_str()), 0);
    dead.reset();
    ASSERT_EQ(::rename((socket + "2").c_str(), socket.c_str()), 0);

    const auto again = first(options());
    struct stat status {};
    ASSERT_EQ(::stat(socket.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    ASSERT_EQ(::stat(runtime.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
    EXPECT_EQ(start(options(), StartRequest{}).value(), Role::second);
}

TEST_P(OneProcessWithoutABus, IgnoresWhatIsNoRequest) {
    const auto instance = first(options());
    // A name short enough for an ordinary connection.
    ASSERT_TRUE(files::createSymbolicLink(folder.path + "/s", runtime + socketPath()));
    std::vector<std::unique_ptr<QLocalSocket>> strangers;
    const auto say = [&](const QByteArray& bytes) {
        strangers.push_back(std::make_unique<QLocalSocket>());
        strangers.back()->connectToServer(QString::fromStdString(folder.path + "/s"));
        ASSERT_TRUE(strangers.back()->waitForConnected(5000));
        strangers.back()->write(bytes);
    };
    say("morvane-1 open =  file:///half");
    say("GET / HTTP/1.1\r\n\r\n");
    say(QByteArray("\0\xff\n", 3));
    say(QByteArray(3'000'000, 'a'));
    QLocalSocket& tooLong = *strangers.back();
    runUntil([&] { return tooLong.state() == QLocalSocket::UnconnectedState; });
    EXPECT_EQ(start(options(), StartRequest{}).value(), Role::second);
    runUntil([&] { return !received.empty(); });
    EXPECT_EQ(received, std::vector<StartRequest>{{}});
}

INSTANTIATE_TEST_SUITE_P(Socket, OneProcessWithoutABus, ::testing::Values(false));

}  // namespace
}  // namespace morvane::views
