#include "runtime/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

// This header of the distribution's C library forgets to say that its functions are C's.
extern "C" {
#include <sys/pidfd.h>
}

namespace morvane::runtime {
namespace {

sigset_t stopSignals() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) ::sigaddset(&set, number);
    return set;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// The two structures of a spawn, released together.
struct SpawnPlan {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    SpawnPlan() {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
        sigset_t none, all;
        ::sigemptyset(&none);
        ::sigfillset(&all);
        ::posix_spawnattr_setsigmask(&attributes, &none);
        ::posix_spawnattr_setsigdefault(&attributes, &all);
        ::posix_spawnattr_setflags(&attributes,
                                   POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnPlan() {
        ::posix_spawn_file_actions_destroy(&actions);
        ::posix_spawnattr_destroy(&attributes);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
};

}  // namespace

StopSignals::StopSignals() {
    const sigset_t set = stopSignals();
    ::sigprocmask(SIG_BLOCK, &set, nullptr);
    descriptor_ = ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

StopSignals::~StopSignals() {
    ::close(descriptor_);
    const sigset_t set = stopSignals();
    ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

int StopSignals::take() {
    signalfd_siginfo information{};
    if (::read(descriptor_, &information, sizeof information) != sizeof information) return 0;
    return static_cast<int>(information.ssi_signo);
}

std::optional<Child> Child::start(const ChildRequest& request) {
    std::array<int, 2> pipe{-1, -1};
    if (request.output == ChildOutput::passedOn && ::pipe2(pipe.data(), O_CLOEXEC) != 0) return std::nullopt;
    SpawnPlan plan;
    const char* output = request.log.empty() ? "/dev/null" : request.log.c_str();
    ::posix_spawn_file_actions_addopen(&plan.actions, 0, "/dev/null", O_RDONLY, 0);
    if (pipe[1] >= 0) {
        ::posix_spawn_file_actions_adddup2(&plan.actions, pipe[1], 1);
    } else {
        ::posix_spawn_file_actions_addopen(&plan.actions, 1, output, O_WRONLY | O_CREAT | O_APPEND, 0644);
    }
    ::posix_spawn_file_actions_adddup2(&plan.actions, 1, 2);
    ::posix_spawn_file_actions_addclosefrom_np(&plan.actions, 3);
    if (!request.runFolder.empty()) {
        ::posix_spawn_file_actions_addchdir_np(&plan.actions, request.runFolder.c_str());
    }
    std::vector<std::string> arguments{request.program};
    arguments.insert(arguments.end(), request.arguments.begin(), request.arguments.end());
    std::vector<std::string> environment;
    for (const auto& [name, value] : request.environment) environment.push_back(name + "=" + value);

    pid_t number = 0;
    const int error = ::posix_spawn(&number, request.program.c_str(), &plan.actions, &plan.attributes,
                                    pointersTo(arguments).data(), pointersTo(environment).data());
    if (pipe[1] >= 0) ::close(pipe[1]);
    if (error != 0) {
        if (pipe[0] >= 0) ::close(pipe[0]);
        return std::nullopt;
    }
    if (pipe[0] >= 0) ::fcntl(pipe[0], F_SETFL, O_NONBLOCK);
    return Child(number, ::pidfd_open(number, 0), pipe[0]);
}

Child::Child(Child&& other) noexcept
    : number_(std::exchange(other.number_, 0)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      output_(std::exchange(other.output_, -1)),
      status_(other.status_) {}

Child::~Child() {
    if (descriptor_ >= 0) ::close(descriptor_);
    if (output_ >= 0) ::close(output_);
}

void Child::passOutputOn() {
    std::array<char, 65536> block{};
    for (;;) {
        const ssize_t count = ::read(output_, block.data(), block.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return;  // nothing more for now
        if (count == 0) break;
        std::fwrite(block.data(), 1, static_cast<std::size_t>(count), stdout);
        std::fflush(stdout);
    }
    ::close(std::exchange(output_, -1));
}

Ending Child::wait(const StopSignals* signals, std::optional<std::chrono::milliseconds> limit) {
    const auto end = std::chrono::steady_clock::now() + limit.value_or(std::chrono::milliseconds(0));
    while (number_ > 0) {
        std::array<pollfd, 3> events{{{descriptor_, POLLIN, 0},
                                      {signals != nullptr ? signals->descriptor() : -1, POLLIN, 0},
                                      {output_, POLLIN, 0}}};
        int patience = -1;
        if (limit) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
            patience = static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
        }
        const int count = ::poll(events.data(), events.size(), patience);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return Ending::timeOut;
        if (events[2].revents != 0) passOutputOn();
        if (events[0].revents != 0) {
            int status = 0;
            ::waitpid(std::exchange(number_, 0), &status, 0);
            status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
            // What it printed last; a service that has its output may hold the pipe for longer.
            if (output_ >= 0) passOutputOn();
            break;
        }
        if (events[1].revents != 0) return Ending::askedToStop;
    }
    return Ending::exited;
}

void Child::kill() {
    if (number_ <= 0) return;
    ::kill(number_, SIGKILL);
    ::waitpid(std::exchange(number_, 0), nullptr, 0);
}

}  // namespace morvane::runtime
