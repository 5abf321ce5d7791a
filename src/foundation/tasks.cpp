#include "foundation/tasks.h"

#include <chrono>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/build_log.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/process.h"

namespace morvane::MVTask {

namespace {

std::string endingOf(const ProcessRequest& request, const Result<ProcessResult>& result) {
    if (!result) return "could not be started: " + result.error().why;
    if (!request.waitForExit) return "started";
    const ProgramEnding& ending = result->ending;
    return ending.signal != 0 ? "signal " + std::to_string(ending.signal)
                              : "exit status " + std::to_string(ending.exitStatus);
}

void log(const ProcessRequest& request, const Result<ProcessResult>& result,
         std::chrono::steady_clock::duration time) {
    std::string text = "program: " + request.program;
    for (const std::string& argument : request.arguments) text += " [" + argument + "]";
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    text += ": " + endingOf(request, result) + ", " + std::to_string(milliseconds) + " ms";
    host().log.write(result && result->ending.succeeded() ? Log::Level::info : Log::Level::warning, text);
}

bool isRunnable(const std::string& path) {
    return files::kindBehind(path) != files::Kind::folder && files::isExecutable(path);
}

/// A failure, after it was reported, for a program that cannot be run.
Result<ProcessRequest> requestFor(const std::optional<std::string>& program,
                                  const std::optional<std::string>& runPath, const Arguments& flags) {
    host().creation.throwIfRequested();
    std::optional<std::string> path = program;
    if (path && !path->starts_with('/')) path = getPathOfProgram(*path);
    std::string problem;
    if (!path) {
        problem = localized("Program couldn't be found.");
    } else if (files::kindBehind(*path) == files::Kind::none) {
        problem = localized("File %@ not found.", {*path});
    } else if (!isRunnable(*path)) {
        problem = localized("File %@ not runnable.", {*path});
    }
    if (!problem.empty()) {
        MVAlert::showAlertErrorMessage(problem);
        return Failure{problem};
    }
    ProcessRequest request{.program = *path, .arguments = flags.value_or(std::vector<std::string>{})};
    // Literally, without a home folder's "~": a folder that does not exist leaves the program in ours.
    if (runPath && files::kindBehind(*runPath) == files::Kind::folder) request.runFolder = runPath;
    return request;
}

}  // namespace

Result<ProcessResult> runLogged(ProcessRequest request) {
    const auto start = std::chrono::steady_clock::now();
    const auto build = BuildLog::current();
    if (host().creation.runsHere()) request.cancellation = &host().creation;
    // What goes on without us keeps the standard error that it was given.
    if (build && request.waitForExit) request.keptErrors = BuildLog::keptErrors;
    auto result = processes::run(request);
    const auto time = std::chrono::steady_clock::now() - start;
    log(request, result, time);
    if (build) build->program(request, result, std::chrono::duration_cast<std::chrono::milliseconds>(time));
    return result;
}

Result<ProcessResult> runProgram(const std::optional<std::string>& program,
                                 const std::optional<std::string>& runPath, const Environment& environment,
                                 const Arguments& flags, Wait wait) {
    auto request = requestFor(program, runPath, flags);
    if (!request) return request.error();
    request->environment = environment;
    request->waitForExit = wait == Wait::yes;
    auto result = runLogged(*request);
    if (result && wait == Wait::no) result->output.clear();
    return result;
}

Result<ProcessResult> runProgram(const std::optional<std::string>& program,
                                 const std::optional<std::string>& runPath, const Arguments& flags,
                                 Wait wait) {
    return runProgram(program, runPath, std::nullopt, flags, wait);
}

Result<ProcessResult> runProgram(const std::optional<std::string>& program, const Environment& environment,
                                 const Arguments& flags) {
    return runProgram(program, "/", environment, flags, Wait::yes);
}

Result<ProcessResult> runProgram(const std::string& program, const std::string& runPath,
                                 const std::vector<std::string>& flags,
                                 const std::function<void(std::string_view)>& printed) {
    auto request = requestFor(program, runPath, flags);
    if (!request) return request.error();
    request->printed = printed ? printed : [](std::string_view) {};
    return runLogged(*request);
}

Result<ProcessResult> runTerminalCommand(const std::string& command, const std::optional<std::string>& path,
                                         Wait wait) {
    // An escaped space travels through the split as a line feed.
    std::vector<std::string> pieces = MVString::split(MVString::replacedAll(command, "\\ ", "\n"), " ");
    const std::string name = pieces.front();
    pieces.erase(pieces.begin());
    for (std::string& piece : pieces) piece = MVString::replacedAll(piece, "\n", " ");
    const Arguments flags = pieces.empty() ? Arguments() : Arguments(std::move(pieces));
    return runProgram(getPathOfProgram(name), path, flags, wait);
}

std::string outputOf(const Result<ProcessResult>& result) {
    return result && MVString::isValidUtf8(result->output) ? result->output : "";
}

std::optional<std::string> getPathOfProgram(const std::string& name) {
    auto& cache = host().programPaths;
    {
        MutexLock lock(cache.mutex);
        if (const auto known = cache.value.find(name); known != cache.value.end()) return known->second;
    }
    const std::vector<std::string> matches = processes::search(name, host().searchPath);
    if (matches.empty()) return std::nullopt;
    MutexLock lock(cache.mutex);
    cache.value[name] = matches.back();
    return matches.back();
}

void runProgramAtPath(const std::string& path) {
    if (const auto started = processes::launch(path); !started) {
        host().log.write(Log::Level::warning, "program: " + started.error().message());
    }
}

}  // namespace morvane::MVTask
