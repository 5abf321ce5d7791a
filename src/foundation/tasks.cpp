#include "foundation/tasks.h"

#include <chrono>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/process.h"

namespace morvane::MVTask {

namespace {

void log(const ProcessRequest& request, const std::optional<ProcessResult>& result,
         std::chrono::steady_clock::duration time) {
    std::string text = "program: " + request.program;
    for (const std::string& argument : request.arguments) text += " [" + argument + "]";
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    const bool succeeded = result && (!request.waitForExit || result->exitStatus == 0);
    text += !result                ? ": could not be started"
            : !request.waitForExit ? ": started"
                                   : ": exit status " + std::to_string(result->exitStatus);
    text += ", " + std::to_string(milliseconds) + " ms";
    host().log.write(succeeded ? Log::Level::info : Log::Level::warning, text);
}

bool isRunnable(const std::string& path) {
    return files::kindBehind(path) != files::Kind::folder && files::isExecutable(path);
}

std::optional<ProcessResult> runLogged(const ProcessRequest& request) {
    const auto start = std::chrono::steady_clock::now();
    std::optional<ProcessResult> result = processes::run(request);
    log(request, result, std::chrono::steady_clock::now() - start);
    return result;
}

/// Nothing, after it was reported, for a program that cannot be run.
std::optional<ProcessRequest> requestFor(const std::optional<std::string>& program,
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
        return std::nullopt;
    }
    ProcessRequest request{.program = *path, .arguments = flags.value_or(std::vector<std::string>{})};
    // Literally, without a home folder's "~": a folder that does not exist leaves the program in ours.
    if (runPath && files::kindBehind(*runPath) == files::Kind::folder) request.runFolder = runPath;
    if (host().creation.runsHere()) request.cancellation = &host().creation;
    return request;
}

}  // namespace

std::optional<std::string> runProgram(const std::optional<std::string>& program,
                                      const std::optional<std::string>& runPath,
                                      const Environment& environment, const Arguments& flags, Wait wait) {
    auto request = requestFor(program, runPath, flags);
    if (!request) return "";
    request->environment = environment;
    request->waitForExit = wait == Wait::yes;
    std::optional<ProcessResult> result = runLogged(*request);
    if (!result || wait == Wait::no) return "";
    if (!MVString::isValidUtf8(result->output)) return std::nullopt;
    return std::move(result->output);
}

std::optional<std::string> runProgram(const std::optional<std::string>& program,
                                      const std::optional<std::string>& runPath, const Arguments& flags,
                                      Wait wait) {
    return runProgram(program, runPath, std::nullopt, flags, wait);
}

std::optional<std::string> runProgram(const std::optional<std::string>& program,
                                      const Environment& environment, const Arguments& flags) {
    return runProgram(program, "/", environment, flags, Wait::yes);
}

std::optional<int> exitStatusOfProgram(const std::string& program, const std::string& runPath,
                                       const std::vector<std::string>& flags,
                                       const std::function<void(std::string_view)>& printed) {
    auto request = requestFor(program, runPath, flags);
    if (!request) return std::nullopt;
    request->printed = printed ? printed : [](std::string_view) {};
    const std::optional<ProcessResult> result = runLogged(*request);
    return result ? std::optional(result->exitStatus) : std::nullopt;
}

std::optional<std::string> runTerminalCommand(const std::string& command,
                                              const std::optional<std::string>& path, Wait wait) {
    // An escaped space travels through the split as a line feed.
    std::vector<std::string> pieces = MVString::split(MVString::replacedAll(command, "\\ ", "\n"), " ");
    const std::string name = pieces.front();
    pieces.erase(pieces.begin());
    for (std::string& piece : pieces) piece = MVString::replacedAll(piece, "\n", " ");
    const Arguments flags = pieces.empty() ? Arguments() : Arguments(std::move(pieces));
    return runProgram(getPathOfProgram(name), path, flags, wait);
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
    processes::launch(path);
}

}  // namespace morvane::MVTask
