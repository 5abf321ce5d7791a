#include "platform/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

// The header of glibc 2.36 does not say so itself.
extern "C" {
#include <sys/pidfd.h>
}

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/cancellation.h"
#include "platform/descriptor.h"
#include "platform/files.h"

namespace morvane {
namespace {

using Clock = std::chrono::steady_clock;

/// A program asked to stop has this long to put its house in order.
constexpr std::chrono::milliseconds grace{300};

struct Pipe {
    Descriptor readEnd, writeEnd;
};

std::optional<Pipe> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
    return Pipe{Descriptor(ends[0]), Descriptor(ends[1])};
}

/// The end of what a program says on standard error, which is passed on.
class ErrorTail {
  public:
    ErrorTail(Descriptor pipe, std::size_t kept) : pipe_(std::move(pipe)), kept_(kept) {
        if (pipe_.valid()) ::fcntl(pipe_.get(), F_SETFL, O_NONBLOCK);
    }
    [[nodiscard]] int descriptor() const { return pipe_.get(); }
    /// All that is there now; what a program left behind says later is nobody's.
    void read() {
        std::array<char, 4096> buffer;
        while (pipe_.valid()) {
            const ssize_t count = ::read(pipe_.get(), buffer.data(), buffer.size());
            if (count < 0 && errno == EINTR) continue;
            if (count < 0 && errno == EAGAIN) return;
            if (count <= 0) return pipe_.reset();
            const std::string_view piece(buffer.data(), static_cast<std::size_t>(count));
            static_cast<void>(writeAll(STDERR_FILENO, piece));
            text += piece;
            if (text.size() > kept_) text.erase(0, text.size() - kept_);
        }
    }

    std::string text;

  private:
    Descriptor pipe_;
    std::size_t kept_;
};

/// One running program with the pipes that it prints to.
class Child {
  public:
    Child(pid_t number, Descriptor output, ErrorTail errors, bool ours)
        : number_(number),
          ours_(ours),
          output_(std::move(output)),
          process_(::pidfd_open(number, 0)),
          errors_(std::move(errors)) {}
    ~Child() {
        // Only a program that even SIGKILL has not ended yet, stuck in the kernel, is left for the system.
        if (ours_) ::waitpid(number_, nullptr, WNOHANG);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    enum class Until { closed, exited };
    /// False when the interruption came first.
    bool follow(Until until, int interruption, std::string& output,
                const std::function<void(std::string_view)>& printed) {
        for (;;) {
            if (until == Until::closed ? !output_.valid() : !process_.valid()) return true;
            const auto ready = wait(until == Until::exited, interruption, -1);
            if (ready.interrupted) return false;
            if (ready.output) readInto(output);
            if (ready.errors) errors_.read();
            if (printed && !output.empty()) {
                printed(output);
                output.clear();
            }
            if (ready.exited) return true;
        }
    }

    /// Stops the group: asks, and after the grace insists. Does not wait for foreign holders of the output.
    void stop() {
        signalGroup(SIGTERM);
        std::string ignored;
        const auto end = Clock::now() + grace;
        bool running = process_.valid();
        while (running || output_.valid()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
            if (left <= 0) break;
            const auto ready = wait(running, -1, static_cast<int>(left));
            if (ready.exited) running = false;
            if (ready.output) readInto(ignored);
            if (ready.errors) errors_.read();
            ignored.clear();
        }
        signalGroup(SIGKILL);
        if (running) wait(true, -1, 1000);
    }

    /// Clears the program away. It has exited.
    ProgramEnding ending() {
        ours_ = false;
        return waitForChild(number_);
    }

    [[nodiscard]] std::string errors() {
        errors_.read();
        return std::move(errors_.text);
    }

  private:
    struct Ready {
        bool output = false, exited = false, interrupted = false, errors = false;
    };

    Ready wait(bool forExit, int interruption, int milliseconds) {
        std::array<pollfd, 4> events{
            pollfd{output_.get(), POLLIN, 0}, pollfd{forExit ? process_.get() : -1, POLLIN, 0},
            pollfd{interruption, POLLIN, 0}, pollfd{errors_.descriptor(), POLLIN, 0}};
        if (::poll(events.data(), events.size(), milliseconds) <= 0) return {};
        return {events[0].revents != 0, events[1].revents != 0, events[2].revents != 0,
                events[3].revents != 0};
    }

    void readInto(std::string& output) {
        std::array<char, 65536> buffer;
        const ssize_t count = ::read(output_.get(), buffer.data(), buffer.size());
        if (count > 0) output.append(buffer.data(), static_cast<std::size_t>(count));
        if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN)) output_.reset();
    }

    /// A number stays taken while its process is unwaited for; that of a program handed to the system may
    /// belong to somebody else once it has ended, so its group is only signalled while it certainly lives.
    void signalGroup(int number) {
        if (ours_ || ::pidfd_send_signal(process_.get(), 0, nullptr, 0) == 0) ::kill(-number_, number);
    }

    const pid_t number_;
    bool ours_;
    Descriptor output_, process_;
    ErrorTail errors_;
};

}  // namespace

namespace processes {

Result<ProcessResult> run(const ProcessRequest& request) {
    if (request.cancellation != nullptr && request.cancellation->requested()) throw Cancelled();
    // Nothing is ever written to the input. Its writing end stays open until the output is closed: a program
    // that asks a question there waits, and does not take the end of the input for an answer.
    auto input = makePipe();
    auto output = makePipe();
    std::optional<Pipe> errors;
    if (request.keptErrors > 0) errors = makePipe();
    const Descriptor interruption(::eventfd(0, EFD_CLOEXEC));
    if (!input || !output || !interruption.valid()) {
        return Failure{request.program, std::generic_category().message(errno)};
    }
    const auto number = startChild({.program = request.program,
                                    .arguments = request.arguments,
                                    .environment = request.environment,
                                    .runFolder = request.runFolder,
                                    .input = input->readEnd.get(),
                                    .output = output->writeEnd.get(),
                                    .error = errors ? errors->writeEnd.get() : -1,
                                    .orphan = !request.waitForExit});
    if (!number) return number.error();
    input->readEnd.reset();
    output->writeEnd.reset();
    ErrorTail tail(errors ? std::move(errors->readEnd) : Descriptor(), request.keptErrors);
    errors.reset();
    Child child(*number, std::move(output->readEnd), std::move(tail), request.waitForExit);

    std::optional<Cancellation::Interrupter> interrupter;
    if (request.cancellation != nullptr) {
        interrupter.emplace(*request.cancellation,
                            [fd = interruption.get()] { static_cast<void>(::eventfd_write(fd, 1)); });
    }
    ProcessResult result;
    const auto followUntil = [&](Child::Until until) {
        if (child.follow(until, interruption.get(), result.output, request.printed)) return;
        child.stop();
        throw Cancelled();
    };
    followUntil(Child::Until::closed);
    input->writeEnd.reset();
    if (request.waitForExit) followUntil(Child::Until::exited);
    if (request.waitForExit) result.ending = child.ending();
    result.errors = child.errors();
    return result;
}

Result<> launch(const std::string& program, const std::vector<std::string>& arguments) {
    const Descriptor null(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!null.valid()) return Failure{program, std::generic_category().message(errno)};
    const auto started = startChild({.program = program,
                                     .arguments = arguments,
                                     .input = null.get(),
                                     .output = null.get(),
                                     .error = null.get(),
                                     .ownSession = true,
                                     .orphan = true});
    if (!started) return started.error();
    return {};
}

void stopChildren(std::chrono::milliseconds limit) {
    std::vector<int> children;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        // "<number> (<name>) <state> <parent> ...": the name may hold anything.
        const auto state = files::read(entry.path().string() + "/stat");
        const std::size_t end = state ? state->rfind(')') : std::string::npos;
        if (end == std::string::npos || end + 4 > state->size()) continue;
        if (std::atoi(state->c_str() + end + 4) == ::getpid()) children.push_back(std::stoi(name));
    }
    // Each leads a group of its own; a group that is gone gets nothing.
    for (const int child : children) ::kill(-child, SIGTERM);
    static_cast<void>(waitForEnd(children, limit));
    for (const int child : children) ::kill(-child, SIGKILL);
}

bool waitForEnd(const std::vector<int>& processes, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    for (const int process : processes) {
        // By a descriptor, not by the number again and again: that may be another process's meanwhile.
        const Descriptor descriptor(pidfd_open(process, 0));
        if (!descriptor.valid()) {
            if (errno == ESRCH) continue;
            return false;
        }
        for (;;) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
            pollfd ending{.fd = descriptor.get(), .events = POLLIN, .revents = 0};
            const int ready = poll(&ending, 1, static_cast<int>(std::max<std::int64_t>(0, left.count())));
            if (ready > 0) break;
            if (ready == 0 || errno != EINTR) return false;
        }
    }
    return true;
}

std::vector<std::string> search(const std::string& name, const std::string& searchPath) {
    const auto runs = [](const std::string& path) {
        return files::kindBehind(path) == files::Kind::file && files::isExecutable(path);
    };
    if (name.empty()) return {};
    if (name.front() == '/') return runs(name) ? std::vector{name} : std::vector<std::string>();
    std::vector<std::string> found;
    for (std::size_t begin = 0; begin <= searchPath.size();) {
        const std::size_t end = std::min(searchPath.find(':', begin), searchPath.size());
        const std::string folder = searchPath.substr(begin, end - begin);
        begin = end + 1;
        // A relative folder, the empty one included, would depend on where the application was started.
        if (!folder.starts_with('/')) continue;
        const std::string path = files::join(folder, name);
        if (runs(path)) found.push_back(path);
    }
    return found;
}

}  // namespace processes
}  // namespace morvane
