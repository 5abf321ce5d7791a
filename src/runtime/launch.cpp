#include "runtime/launch.h"

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>

#include "platform/files.h"
#include "platform/folders.h"
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
    std::string text = refusalOf(machine);
    text.replace(text.find("%@"), 2, path);
    return Failure{text};
}

/// A batch file that does nothing but start a program: the program itself, so that it runs in its own folder
/// and is waited for. "start" of Wine also takes a quoted program for the title of a window.
std::optional<StartLine> startLineIn(const WrapperBundle& bundle, const std::string& batchFile) {
    constexpr std::uint64_t longest = 8192;
    if (files::size(batchFile).value_or(longest) >= longest) return std::nullopt;
    const auto text = files::read(batchFile);
    if (!text) return std::nullopt;
    auto line = startLineOf(*text);
    // To the command interpreter a percent sign may begin a variable, and letters beyond ASCII are of another
    // encoding than the application's: a file of the very name is what the application means.
    const auto meansMore = [](unsigned char c) { return c == '%' || c >= 0x80; };
    if (line && std::any_of(line->program.begin(), line->program.end(), meansMore) &&
        !hostPathOf(bundle.wrapper.prefix(), line->program)) {
        return std::nullopt;
    }
    return line;
}

Result<std::string> existingFile(const WrapperBundle& bundle, const std::string& program) {
    std::optional<std::string> path = program;
    if (isWindowsPath(program)) path = hostPathOf(bundle.wrapper.prefix(), program);
    if (!path || files::kindBehind(*path) != files::Kind::file) return Failure{program + " is missing."};
    return path->starts_with('/') ? *path : files::resolved(*path).value_or(*path);
}

}  // namespace

Result<WineCall> callFor(const WrapperBundle& bundle, const std::string& program,
                         const std::vector<std::string>& arguments) {
    const auto found = existingFile(bundle, program);
    if (!found) return found.error();
    const auto& path = *found;
    const std::string extension = lowerCaseExtension(path), folder = files::parent(path);
    if (files::lastComponent(path).find_first_of("\"*<>?|\\\n") != std::string::npos) {
        return Failure{path + " has a name that Windows does not know: rename it."};
    }

    if (extension == "bat" || extension == "cmd") {
        if (const auto line = startLineIn(bundle, path)) {
            return callFor(bundle, line->program, joined(splitArguments(line->arguments), arguments));
        }
    }
    if (extension == "msi")
        return WineCall{
            .arguments = joined({"msiexec.exe", "/i", path}, arguments), .runFolder = folder, .file = path};
    if (extension != "exe")
        return WineCall{joined({"start.exe", "/wait", "/unix", path}, arguments), folder, {}, path};
    if (!beginsAsProgram(path)) return Failure{path + " is not a Windows program."};
    const Machine machine = machineOf(path);
    if (!prefixRuns(bundle.wrapper.prefix(), machine) || !engineRuns(bundle.wrapper.engine(), machine))
        return wrongMachine(path, machine);
    return WineCall{joined({isWindowsPath(program) ? program : path}, arguments), folder, {}, path};
}

Result<WineCall> consoleCallFor(const WrapperBundle& bundle, const std::string& program,
                                const std::vector<std::string>& arguments) {
    auto call = callFor(bundle, program, arguments);
    const std::string extension = lowerCaseExtension(program);
    if (!call || (extension != "bat" && extension != "cmd")) return call;
    // One that only starts a program has become that program.
    std::vector<std::string>& words = call->arguments;
    if (words.front() != "start.exe") return call;
    words.erase(words.begin(), words.begin() + 3);
    // In its folder, which the call runs in; quoted in any case, because of the blank: "&" and "," may be in
    // a name without one.
    words.front() = ". \\..\\" + files::lastComponent(words.front());
    words.insert(words.begin(), {"cmd.exe", "/c", "call"});
    return call;
}

Result<WineCall> mainCall(const WrapperBundle& bundle, const LaunchSettings& settings) {
    if (settings.program.empty()) {
        return Failure{"No program is set in " + bundle.application +
                       ": \"Program Name and Path\" is empty."};
    }
    auto call = callFor(bundle, "C:" + settings.program, splitArguments(settings.flags));
    const bool isExe = settings.program.size() > 4 && lowerCaseExtension(settings.program) == "exe";
    if (!call || !settings.useStart || !isExe) return call;
    const auto path = hostPathOf(bundle.wrapper.prefix(), "C:" + settings.program);
    std::vector<std::string> arguments{"start.exe", "/wait", "/unix", path.value_or(settings.program)};
    arguments.insert(arguments.end(), call->arguments.begin() + 1, call->arguments.end());
    return WineCall{.arguments = std::move(arguments), .runFolder = call->runFolder};
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

Result<> addOptions(const LaunchOptions& options, WineSession& session, WineCall& call) {
    const auto own = options.environment.find("PATH");
    const std::string path = own != options.environment.end() ? own->second : environmentVariable("PATH");
    auto words = runnableCommand(options.before.value_or(""), path);
    if (!words) return words.error();
    call.before = *std::move(words);
    session.addVariables(options.environment);
    return {};
}

int play(WineSession& session, const WineCall& call) {
    const std::string stamp = updateStampOf(session.bundle());
    const int status = session.wine(call.arguments, call.runFolder, Display::shown, call.before);
    session.waitForAll();
    // A newer Wine on this machine refreshed the drive at this start, debug information and all.
    if (!session.joined() && updateStampOf(session.bundle()) != stamp) slimPrefix(session.bundle());
    return session.stopped() != 0 ? session.stopped() : status;
}

}  // namespace morvane::runtime
