#include "foundation/build_log.h"

#include <unistd.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/iso_time.h"
#include "platform/utf8.h"

namespace morvane {

namespace {

constexpr std::string_view prefix = "build-", suffix = ".log";

std::string folder() {
    return files::parent(host().log.path());
}

/// Oldest first: the names begin with the time.
std::vector<std::string> logNames() {
    auto names = files::list(folder()).value_or(std::vector<std::string>());
    std::erase_if(
        names, [](const std::string& name) { return !name.starts_with(prefix) || !name.ends_with(suffix); });
    return names;
}

std::string freshPath() {
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const std::string time = MVString::replacedAll(isoText(now), ":", "");
    const std::string base =
        files::join(folder(), std::string(prefix) + time + "-" + std::to_string(::getpid()));
    std::string path = base + std::string(suffix);
    for (int number = 2; files::kindOf(path) != files::Kind::none; ++number) {
        path = base + "-" + std::to_string(number) + std::string(suffix);
    }
    return path;
}

std::string millisecondsText(std::chrono::steady_clock::duration time) {
    return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(time).count()) + " ms";
}

std::string endingOf(const ProgramEnding& ending) {
    return ending.signal != 0 ? "signal " + std::to_string(ending.signal)
                              : "exit status " + std::to_string(ending.exitStatus);
}

/// The last line that says anything.
std::string lastLine(std::string_view text) {
    const std::string trimmed = MVString::trimmed(text);
    return trimmed.substr(trimmed.rfind('\n') + 1);
}

/// On one line, and ended by a point.
std::string sentence(const std::string& text) {
    std::string line = MVString::trimmed(harmless(text));
    std::ranges::replace(line, '\n', ' ');
    while (line.ends_with('.') || line.ends_with('!')) line.pop_back();
    return line.ends_with('?') ? line : line + ".";
}

}  // namespace

std::shared_ptr<BuildLog> BuildLog::begin(const std::string& wrapper) {
    std::vector<std::string> names = logNames();
    // The new one is one of those that are kept.
    const auto kept = static_cast<std::size_t>(keptFiles - 1);
    for (std::size_t index = 0; index + kept < names.size(); ++index) {
        static_cast<void>(files::remove(files::join(folder(), names[index])));
    }
    auto log = std::make_shared<BuildLog>(wrapper, freshPath());
    MutexLock lock(host().buildLog.mutex);
    host().buildLog.value = log;
    return log;
}

std::shared_ptr<BuildLog> BuildLog::current() {
    return host().creation.runsHere() ? last() : nullptr;
}

std::shared_ptr<BuildLog> BuildLog::last() {
    MutexLock lock(host().buildLog.mutex);
    return host().buildLog.value;
}

std::optional<std::string> BuildLog::newestFile() {
    const std::vector<std::string> names = logNames();
    return names.empty() ? std::nullopt : std::optional(files::join(folder(), names.back()));
}

BuildLog::BuildLog(const std::string& wrapper, const std::string& path) : wrapper_(wrapper), log_(path) {
    log_.write(Log::Level::info, "build of " + wrapper);
}

void BuildLog::stage(const std::string& name) {
    MutexLock lock(mutex_);
    if (name == stage_) return;
    endStage();
    stage_ = name;
    stageBegin_ = Clock::now();
    told_.clear();
    programFailure_.clear();
    downloadFailure_.clear();
    log_.write(Log::Level::info, "stage: " + name);
}

void BuildLog::endStage() {
    if (stage_.empty()) return;
    log_.write(Log::Level::info,
               "stage ended: " + stage_ + " " + millisecondsText(Clock::now() - stageBegin_));
}

void BuildLog::program(const ProcessRequest& request, const Result<ProcessResult>& result,
                       std::chrono::milliseconds time) {
    std::string text = "program: " + request.program;
    for (const std::string& argument : request.arguments) text += " [" + argument + "]";
    const bool succeeded = result && result->ending.succeeded();
    const std::string how = result ? endingOf(result->ending) : "could not be started: " + result.error().why;
    log_.write(succeeded ? Log::Level::info : Log::Level::warning,
               text + ": " + how + ", " + millisecondsText(time));
    const std::string errors = result ? MVString::trimmed(result->errors) : "";
    for (const std::string& line : MVString::split(errors, "\n")) {
        if (!line.empty()) log_.write(Log::Level::detail, "standard error: " + line);
    }
    if (succeeded) return;
    MutexLock lock(mutex_);
    programFailure_ = files::lastComponent(request.program) + ": " + how;
    if (const std::string line = lastLine(errors); !line.empty()) programFailure_ += ", " + line;
}

void BuildLog::download(const std::string& url, std::uint64_t bytes, const std::string& failure) {
    log_.write(failure.empty() ? Log::Level::info : Log::Level::warning,
               "download: " + url + ": " + std::to_string(bytes) + " bytes" +
                   (failure.empty() ? "" : ", " + failure));
    if (failure.empty()) return;
    MutexLock lock(mutex_);
    downloadFailure_ = url + ": " + failure;
}

void BuildLog::errorShown(const std::string& text) {
    log_.write(Log::Level::warning, "error: " + text);
    MutexLock lock(mutex_);
    told_ = text;
}

void BuildLog::ended(Ending ending) {
    MutexLock lock(mutex_);
    endStage();
    hasFailed_ = ending == Ending::failed;
    const char* how = ending == Ending::built ? "built" : hasFailed_ ? "failed" : "cancelled";
    log_.write(hasFailed_ ? Log::Level::warning : Log::Level::info,
               "ended: " + std::string(how) + ", " + millisecondsText(Clock::now() - begin_));
}

std::optional<std::string> BuildLog::failure() const {
    MutexLock lock(mutex_);
    if (!hasFailed_) return std::nullopt;
    std::string why = told_;
    for (const std::string& cause : {programFailure_, downloadFailure_}) {
        if (cause.empty()) continue;
        why = why.empty() ? cause : MVString::trimmed(sentence(why)) + " " + cause;
    }
    std::string advice = localized("What was tried is in the log");
    if (MVString::contains(why, "No space left on device")) {
        advice = localized("Make room on the disk, then install it again");
    } else if (!downloadFailure_.empty()) {
        advice = localized("Check the connection and the link, then install it again");
    } else if (!programFailure_.empty()) {
        advice = localized(
            "Install it again; where that does not help, send the log with: morvane feedback --build-log");
    }
    const std::string name = files::withoutExtension(files::lastComponent(wrapper_));
    return sentence(localized("%@ was not installed: %@", {name, stage_})) + " " +
           (why.empty() ? "" : sentence(why) + " ") + sentence(advice) + " " + localized("Log: %@", {path()});
}

}  // namespace morvane
