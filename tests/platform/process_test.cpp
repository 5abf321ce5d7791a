#include "platform/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// The header of glibc 2.36 does not say so itself.
extern "C" {
#include <sys/pidfd.h>
}

#include <cerrno>
#include <fstream>
#include <sstream>
#include <thread>

#include "platform/cancellation.h"
#include "platform/descriptor.h"
#include "platform/files.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using testing::TemporaryFolder;

ProcessRequest shell(const std::string& script, std::vector<std::string> arguments = {}) {
    ProcessRequest request;
    request.program = "/bin/sh";
    request.arguments = {"-c", script, "sh"};
    request.arguments.insert(request.arguments.end(), arguments.begin(), arguments.end());
    return request;
}

class Programs : public ::testing::Test {
  public:
    ~Programs() override {
        // Whatever a program was, it has been cleared away.
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
    }

    TemporaryFolder folder;

    /// A named pipe: who reads it waits until somebody has written.
    [[nodiscard]] std::string signalPipe(const std::string& name) const {
        const std::string path = folder.path + "/" + name;
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        return path;
    }
};

std::string firstLine(const std::string& path) {
    std::string line;
    std::ifstream stream(path);
    std::getline(stream, line);
    return line;
}

/// Waits until the process of that number has ended.
bool ends(pid_t number) {
    const Descriptor process(::pidfd_open(number, 0));
    if (!process.valid()) return errno == ESRCH;
    pollfd event{process.get(), POLLIN, 0};
    return ::poll(&event, 1, 20'000) == 1;
}

TEST_F(Programs, ExitStatus) {
    EXPECT_TRUE(processes::run(shell("exit 0"))->ending.succeeded());
    EXPECT_EQ(processes::run(shell("exit 7"))->ending, (ProgramEnding{.exitStatus = 7}));
    const ProgramEnding killed = processes::run(shell("kill -9 $$"))->ending;
    EXPECT_EQ(killed, (ProgramEnding{.signal = 9}));
    EXPECT_EQ(killed.shellStatus(), 137);
}

TEST_F(Programs, CannotBeStarted) {
    ProcessRequest missing;
    missing.program = folder.path + "/missing";
    EXPECT_FALSE(processes::run(missing));
    missing.waitForExit = false;
    EXPECT_FALSE(processes::run(missing));
    EXPECT_FALSE(processes::launch(missing.program));
    auto nowhere = shell("true");
    nowhere.runFolder = folder.path + "/missing";
    EXPECT_FALSE(processes::run(nowhere));

    using namespace std::string_literals;
    auto cutShort = shell("true");
    cutShort.arguments.push_back("meant\0 for more"s);
    EXPECT_FALSE(processes::run(cutShort));
    EXPECT_FALSE(processes::run({.program = "/bin/true\0/else"s}));
    EXPECT_FALSE(processes::run({.program = "/bin/true", .environment = {{{"A", "b\0c"s}}}}));
}

TEST_F(Programs, MuchOutputWithNulBytes) {
    const auto result = processes::run(shell("head -c 3000000 /dev/zero; printf end"));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->output.size(), 3000003u);
    EXPECT_TRUE(result->output.ends_with(std::string("\0end", 4)));
}

TEST_F(Programs, StartsClean) {
    // What the front ends do to their own process does not reach the programs.
    sigset_t blocked, before;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    auto* const pipeHandler = ::signal(SIGPIPE, SIG_IGN);
    const int leaky = ::open("/dev/null", O_RDONLY);  // not marked close-on-exec
    const auto result = processes::run(shell(
        "grep -E 'SigBlk|SigIgn' /proc/self/status; ls /proc/$$/fd; readlink /proc/$$/fd/0 | cut -c 1-5;"
        "test $$ = $(cut -d ' ' -f 5 /proc/$$/stat) && echo own group"));
    ::close(leaky);
    ::signal(SIGPIPE, pipeHandler);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->output,
              "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n0\n1\n2\npipe:\nown group\n");
}

TEST_F(Programs, WaitsForEveryHolderOfTheOutput) {
    // The child that stays behind prints after its parent has ended, which closes the pipe.
    const auto result =
        processes::run(shell("(cat \"$1\"; echo late) & exec 3> \"$1\"; echo early", {signalPipe("end")}));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->output, "early\nlate\n");
}

TEST_F(Programs, WithoutTheWaitTheEndOfTheOutputIsEnough) {
    const std::string go = signalPipe("go"), done = signalPipe("done");
    auto request = shell("echo $$; exec >&-; read line < \"$1\"; echo $PPID > \"$2\"", {go, done});
    request.waitForExit = false;
    const auto result = processes::run(request);
    ASSERT_TRUE(result);
    const pid_t number = std::stoi(result->output);
    EXPECT_EQ(::kill(number, 0), 0);  // it still runs
    std::ofstream(go) << "x\n";
    EXPECT_NE(std::stoi(firstLine(done)), ::getpid());  // and is nobody's child here
    EXPECT_TRUE(ends(number));
}

TEST_F(Programs, TheEndOfStandardErrorIsKeptAndAllOfItPassedOn) {
    // One that stays behind, and holds the stream, keeps nobody waiting.
    ProcessRequest request = shell(
        "yes first | head -n 20000 >&2; printf 'the end' >&2; sleep 60 >/dev/null & echo $! >&1; exit 3");
    request.keptErrors = 32;
    const std::string shown = folder.path + "/shown";
    const Descriptor usual(::dup(STDERR_FILENO));
    const Descriptor file(::open(shown.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    ::dup2(file.get(), STDERR_FILENO);
    const auto result = processes::run(request);
    ::dup2(usual.get(), STDERR_FILENO);
    ASSERT_TRUE(result);
    ::kill(std::stoi(result->output), SIGKILL);
    EXPECT_EQ(result->ending.exitStatus, 3);
    EXPECT_EQ(result->errors, "\nfirst\nfirst\nfirst\nfirst\nthe end");
    EXPECT_EQ(files::size(shown), 20000U * 6 + 7);
    // Without, it is inherited.
    EXPECT_EQ(processes::run(shell("echo no >&2"))->errors, "");
}

TEST_F(Programs, CancellationStopsTheWholeGroup) {
    const std::string ready = signalPipe("ready");
    // Deaf to the polite request, with a child of its own and a daemon that has left the group with the
    // output.
    const auto request = [&](bool wait, Cancellation& cancellation) {
        auto deaf =
            shell("trap '' TERM; sleep 1000 & inner=$!; setsid sleep 1001 & echo $$ $inner $! > \"$1\"; wait",
                  {ready});
        deaf.waitForExit = wait;
        deaf.cancellation = &cancellation;
        return deaf;
    };
    for (const bool wait : {true, false}) {
        Cancellation cancellation;
        ASSERT_TRUE(cancellation.begin());
        pid_t outer = 0, inner = 0, daemon = 0;
        std::thread user([&] {
            std::istringstream(firstLine(ready)) >> outer >> inner >> daemon;
            cancellation.request();
        });
        EXPECT_THROW(static_cast<void>(processes::run(request(wait, cancellation))), Cancelled);
        user.join();
        ASSERT_GT(daemon, 1);
        EXPECT_TRUE(ends(outer));
        EXPECT_TRUE(ends(inner));
        EXPECT_EQ(::kill(daemon, SIGKILL), 0);
    }
}

TEST_F(Programs, CancellationBeforeTheStart) {
    Cancellation cancellation;
    ASSERT_TRUE(cancellation.begin());
    cancellation.request();
    auto request = shell("touch \"$1\"", {folder.path + "/touched"});
    request.cancellation = &cancellation;
    EXPECT_THROW(static_cast<void>(processes::run(request)), Cancelled);
    EXPECT_EQ(files::kindOf(folder.path + "/touched"), files::Kind::none);
}

TEST_F(Programs, LaunchedInASessionOfTheirOwn) {
    const std::string done = signalPipe("done");
    ASSERT_TRUE(processes::launch(
        "/bin/sh",
        {"-c", "echo $(cut -d ' ' -f 6 /proc/$$/stat) $$ $(readlink /proc/$$/fd/0 /proc/$$/fd/1) > \"$1\"",
         "sh", done}));
    std::istringstream line(firstLine(done));
    pid_t session = 0, number = 0;
    std::string input, output;
    line >> session >> number >> input >> output;
    EXPECT_EQ(session, number);
    EXPECT_EQ(input, "/dev/null");
    EXPECT_EQ(output, "/dev/null");
    EXPECT_TRUE(ends(number));
}

TEST_F(Programs, SearchFindsEveryCopyInOrder) {
    const auto put = [&](const std::string& name, unsigned mode) {
        const std::string path = folder.path + "/" + name;
        ASSERT_TRUE(files::createFolder(files::parent(path), true));
        ASSERT_TRUE(files::write(path, "", files::Atomically::no));
        ASSERT_TRUE(files::setPermissions(path, mode));
    };
    put("a/tool", 0755);
    put("b/tool", 0644);        // not executable
    put("c/tool/inner", 0755);  // a folder
    put("d/tool", 0755);
    const std::string& root = folder.path;
    const std::string path =
        root + "/d::" + root + "/b:" + root + "/c:" + root + "/missing:relative:" + root + "/a/";
    EXPECT_EQ(processes::search("tool", path),
              (std::vector<std::string>{root + "/d/tool", root + "/a/tool"}));
    EXPECT_EQ(processes::search(root + "/a/tool", path), std::vector<std::string>{root + "/a/tool"});
    EXPECT_TRUE(processes::search("nothing", path).empty());
    EXPECT_TRUE(processes::search("", path).empty());
}

TEST(WaitForEnd, TellsTheLivingFromTheEnded) {
    const auto ended = processes::run({.program = "/bin/sh", .arguments = {"-c", "echo $$"}});
    ASSERT_TRUE(ended);
    EXPECT_TRUE(processes::waitForEnd({std::stoi(ended->output)}, std::chrono::milliseconds(0)));
    EXPECT_FALSE(processes::waitForEnd({getpid()}, std::chrono::milliseconds(0)));
}

}  // namespace
}  // namespace morvane
