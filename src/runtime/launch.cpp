#include "runtime/launch.h"

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>

#include "platform/files.h"
#include "runtime/prefix.h"
#include "runtime/screen.h"
#include "runtime/windows_programs.h"
#include "wrapper/program_header.h"

namespace morvane::runtime {
namespace {

constexpr rlim_t manyFiles = 10240;
constexpr ScreenSize unknownScreen{1280, 720};

std::vector<std::string> joined(std::vector<std::string> first, const std::vector<std::string>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Failure wrongMachine(const std::string& path, Machine machine) {
    if (machine == Machine::x86) {
        return Failure{
            path +
            " is a 32-bit program, and this wrapper's engine runs 64-bit programs only. Install Wine's "
            "32-bit part (package wine32: dpkg --add-architecture i386, apt-get update, apt-get install "
            "wine32:i386), make the system's engine again, or use an engine that runs 32-bit programs, and "
            "create the wrapper anew."};
    }
    if (machine == Machine::x64) {
        return Failure{path +
                       " is a 64-bit program, and this wrapper's drive was made for 32-bit programs only."};
    }
    const std::string name = nameOf(machine);
    return Failure{path +
                   (name.empty() ? " is a program for another processor" : " is an " + name + " program") +
                   ", which this wrapper's engine cannot run. Use the game's edition for 64-bit PCs (x64)."};
}

/// A batch file that does nothing but start a program: the program itself, so that it runs in its own folder
/// and is waited for. "start" of Wine also takes a quoted program for the title of a window.
std::optional<StartLine> startLineIn(const std::string& batchFile) {
    constexpr std::uint64_t longest = 8192;
    if (files::size(batchFile).value_or(longest) >= longest) return std::nullopt;
    const auto text = files::read(batchFile);
    return failureOf(text) != nullptr ? std::nullopt : startLineOf(std::get<std::string>(text));
}

Result<std::string> existingFile(const WrapperBundle& bundle, const std::string& program) {
    std::optional<std::string> path = program;
    if (isWindowsPath(program)) path = hostPathOf(bundle.prefix(), program);
    if (!path || files::kindBehind(*path) != files::Kind::file) return Failure{program + " is missing."};
    const auto absolute = files::resolved(*path);
    return absolute ? *absolute : *path;
}

}  // namespace

Result<WineCall> callFor(const WrapperBundle& bundle, const std::string& program,
                         std::vector<std::string> arguments) {
    const auto found = existingFile(bundle, program);
    if (const Failure* failure = failureOf(found)) return *failure;
    const auto& path = std::get<std::string>(found);
    const std::string extension = lowerCaseExtension(path), folder = files::parent(path);

    if (extension == "bat" || extension == "cmd") {
        if (const auto line = startLineIn(path)) {
            return callFor(bundle, line->program, joined(splitArguments(line->arguments), arguments));
        }
    }
    if (extension == "msi") return WineCall{joined({"msiexec.exe", "/i", path}, arguments), folder};
    if (extension != "exe") return WineCall{joined({"start.exe", "/wait", "/unix", path}, arguments), folder};
    const Machine machine = machineOf(path);
    if (!prefixRuns(bundle.prefix(), machine)) return wrongMachine(path, machine);
    return WineCall{joined({isWindowsPath(program) ? program : path}, arguments), folder};
}

Result<WineCall> mainCall(const WrapperBundle& bundle, const LaunchSettings& settings) {
    if (settings.program.empty()) {
        return Failure{"No program is set in " + bundle.application +
                       ": \"Program Name and Path\" is empty."};
    }
    auto call = callFor(bundle, "C:" + settings.program, splitArguments(settings.flags));
    const auto* direct = std::get_if<WineCall>(&call);
    const bool isExe = settings.program.size() > 4 && lowerCaseExtension(settings.program) == "exe";
    if (direct == nullptr || !settings.useStart || !isExe) return call;
    const auto path = hostPathOf(bundle.prefix(), "C:" + settings.program);
    std::vector<std::string> arguments{"start.exe", "/wait", "/unix", path.value_or(settings.program)};
    arguments.insert(arguments.end(), direct->arguments.begin() + 1, direct->arguments.end());
    return WineCall{std::move(arguments), direct->runFolder};
}

WineCall onDesktop(WineCall call, const WrapperBundle& bundle, const ScreenMode& screen) {
    if (screen.desktop == ScreenMode::Desktop::none) return call;
    ScreenSize size{screen.width, screen.height};
    if (screen.desktop == ScreenMode::Desktop::current) size = currentScreenSize().value_or(unknownScreen);
    // Letters and digits only: the desktop's name is cut at anything else.
    std::string name = "Caskery";
    for (const char c : files::withoutExtension(files::lastComponent(bundle.application))) {
        if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) name += c;
    }
    const std::string desktop =
        "/desktop=" + name + "," + std::to_string(size.width) + "x" + std::to_string(size.height);
    call.arguments = joined({"explorer.exe", desktop}, call.arguments);
    return call;
}

void applyLimits(const LaunchSettings& settings) {
    cpu_set_t allowed;
    if (settings.singleCpu && ::sched_getaffinity(0, sizeof allowed, &allowed) == 0) {
        std::size_t first = 0;
        while (first < CPU_SETSIZE && !CPU_ISSET(first, &allowed)) ++first;
        CPU_ZERO(&allowed);
        CPU_SET(first, &allowed);
        ::sched_setaffinity(0, sizeof allowed, &allowed);
    }
    rlimit limit{};
    if (settings.manyFiles && ::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < manyFiles) {
        limit.rlim_cur = std::min(manyFiles, limit.rlim_max);
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

int play(WineSession& session, const WineCall& call) {
    const std::string stamp = updateStampOf(session.bundle());
    const int status = session.wine(call.arguments, call.runFolder, Display::shown);
    session.waitForAll();
    // A newer Wine on this machine refreshed the drive at this start, debug information and all.
    if (!session.joined() && updateStampOf(session.bundle()) != stamp) slimPrefix(session.bundle());
    return session.stopped() != 0 ? session.stopped() : status;
}

}  // namespace morvane::runtime
