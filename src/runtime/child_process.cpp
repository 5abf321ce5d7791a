#include "runtime/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
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

#include "platform/child.h"
#include "platform/descriptor.h"

namespace morvane::runtime {
namespace {

sigset_t stopSignals() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) ::sigaddset(&set, number);
    return set;
}

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
    const Descriptor input(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    Descriptor output, passed;
    if (request.output == ChildOutput::passedOn) {
        std::array<int, 2> pipe{-1, -1};
        if (::pipe2(pipe.data(), O_CLOEXEC) != 0) return std::nullopt;
        passed = Descriptor(pipe[0]);
        output = Descriptor(pipe[1]);
        ::fcntl(passed.get(), F_SETFL, O_NONBLOCK);
    } else {
        const char* log = request.log.empty() ? "/dev/null" : request.log.c_str();
        output = Descriptor(::open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    }
    if (!input.valid() || !output.valid()) return std::nullopt;
    const auto number =
        startChild({.program = request.program,
                    .arguments = request.arguments,
                    .environment = request.environment,
                    .runFolder = request.runFolder.empty() ? std::nullopt : std::optional(request.runFolder),
                    .input = input.get(),
                    .output = output.get(),
                    .error = output.get(),
                    .ownSession = true});
    if (!number) return std::nullopt;
    return Child(*number, ::pidfd_open(*number, 0), passed.release(), request.endsGroup);
}

Child::Child(Child&& other) noexcept
    : number_(std::exchange(other.number_, 0)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      output_(std::exchange(other.output_, -1)),
      endsGroup_(other.endsGroup_),
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
            status_ = waitForChild(std::exchange(number_, 0)).shellStatus();
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
    ::kill(endsGroup_ ? -number_ : number_, SIGKILL);
    waitForChild(std::exchange(number_, 0));
}

}  // namespace morvane::runtime
