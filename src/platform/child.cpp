#include "platform/child.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "platform/descriptor.h"

namespace morvane {
namespace {

struct Pipe {
    Descriptor readEnd, writeEnd;
};

std::optional<Pipe> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
    return Pipe{Descriptor(ends[0]), Descriptor(ends[1])};
}

/// Everything that the child needs, made before the fork: a child of a process with threads may not allocate.
struct Prepared {
    const char* program;
    std::vector<char*> arguments, environment;
    const char* runFolder = nullptr;
    int input = -1, output = -1, error = -1;
    bool ownSession = false, orphan = false;
};

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

struct Report {
    pid_t child;
    int error;
};

[[noreturn]] void giveUp(int reportTo) {
    const Report report{0, errno};
    static_cast<void>(!::write(reportTo, &report, sizeof report));
    ::_exit(127);
}

/// The front ends block and handle signals, and ignore some; a program starts with none of that.
void resetSignals() {
    for (int number = 1; number < NSIG; ++number) {
        if (number != SIGKILL && number != SIGSTOP) ::signal(number, SIG_DFL);
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Puts the descriptor in its place for the program.
bool place(int descriptor, int number) {
    if (descriptor < 0) return true;
    return ::dup2(descriptor, number) == number;
}

/// In the child; only calls that are safe after a fork.
[[noreturn]] void becomeProgram(const Prepared& plan, int reportTo) {
    if (plan.orphan) {
        const pid_t child = ::fork();
        if (child < 0) giveUp(reportTo);
        if (child > 0) {
            const Report report{child, 0};
            static_cast<void>(!::write(reportTo, &report, sizeof report));
            ::_exit(0);
        }
    }
    if ((plan.ownSession ? ::setsid() : ::setpgid(0, 0)) < 0) giveUp(reportTo);
    resetSignals();
    if (plan.runFolder != nullptr && ::chdir(plan.runFolder) != 0) giveUp(reportTo);
    if (!place(plan.input, 0) || !place(plan.output, 1) || !place(plan.error, 2)) giveUp(reportTo);
    // Other parts of this process open files without the close-on-exec mark; none of them reaches the
    // program.
    ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
    ::execve(plan.program, plan.arguments.data(), plan.environment.data());
    giveUp(reportTo);
}

/// Gives 0 with `errno` set when the program could not be started.
pid_t start(const Prepared& plan) {
    auto reports = makePipe();
    if (!reports) return 0;
    // The child places its streams on 0 to 2 one after the other, so none of what it still needs may lie
    // there.
    Descriptor reportTo(::fcntl(reports->writeEnd.get(), F_DUPFD_CLOEXEC, 3));
    if (!reportTo.valid()) return 0;

    // No handler of ours may run in the child before it has put the signals back.
    sigset_t all, before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t child = ::fork();
    if (child == 0) becomeProgram(plan, reportTo.get());
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (child < 0) return 0;

    // Until the program has begun: the end of the pipe is its success.
    reports->writeEnd.reset();
    reportTo.reset();
    pid_t program = child;
    int error = 0;
    for (Report report{};;) {
        const ssize_t count = ::read(reports->readEnd.get(), &report, sizeof report);
        if (count < 0 && errno == EINTR) continue;
        if (count != sizeof report) break;
        if (report.error != 0) error = report.error;
        if (report.child != 0) program = report.child;
    }
    if (plan.orphan || error != 0) waitForChild(child);
    errno = error;
    return error == 0 ? program : 0;
}

/// A copy above the standard streams, so that placing the child's streams one after the other overwrites none
/// of them.
Descriptor aboveStreams(int descriptor) {
    return descriptor < 0 ? Descriptor() : Descriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, 3));
}

/// The system would silently cut the text off there, and run something else than was meant.
bool holdsNul(const std::vector<std::string>& texts) {
    return std::ranges::any_of(texts, [](const auto& text) { return text.find('\0') != std::string::npos; });
}

std::vector<std::string> assignments(const std::map<std::string, std::string>& environment) {
    std::vector<std::string> texts;
    for (const auto& [name, value] : environment) texts.push_back(name + "=" + value);
    return texts;
}

std::vector<char*> inheritedEnvironment() {
    std::vector<char*> pointers;
    for (char** variable = environ; *variable != nullptr; ++variable) pointers.push_back(*variable);
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

Result<pid_t> startChild(const ChildPlan& plan) {
    const auto failure = [&plan](int number) {
        return Failure{.what = plan.program, .why = std::generic_category().message(number)};
    };
    std::vector<std::string> words{plan.program};
    words.insert(words.end(), plan.arguments.begin(), plan.arguments.end());
    const auto variables = plan.environment ? assignments(*plan.environment) : std::vector<std::string>();
    if (holdsNul(words) || holdsNul(variables)) return failure(EINVAL);

    const Descriptor input = aboveStreams(plan.input), output = aboveStreams(plan.output),
                     error = aboveStreams(plan.error);
    if ((plan.input >= 0 && !input.valid()) || (plan.output >= 0 && !output.valid()) ||
        (plan.error >= 0 && !error.valid())) {
        return failure(errno);
    }
    const pid_t child =
        start({.program = plan.program.c_str(),
               .arguments = pointersTo(words),
               .environment = plan.environment ? pointersTo(variables) : inheritedEnvironment(),
               .runFolder = plan.runFolder ? plan.runFolder->c_str() : nullptr,
               .input = input.get(),
               .output = output.get(),
               .error = error.get(),
               .ownSession = plan.ownSession,
               .orphan = plan.orphan});
    if (child == 0) return failure(errno);
    return child;
}

ProgramEnding waitForChild(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return {};
    }
    if (WIFSIGNALED(status)) return {.exitStatus = 0, .signal = WTERMSIG(status)};
    return {.exitStatus = WEXITSTATUS(status)};
}

}  // namespace morvane
