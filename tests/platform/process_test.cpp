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

}  // namespace
}  // namespace morvane
