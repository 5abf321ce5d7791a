#include "building/build_journal.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <unordered_set>
#include <utility>

#include "foundation/file_manager.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane {

namespace {

namespace fs = std::filesystem;

constexpr const char *stageName = "stage", *listName = "files";
constexpr std::array registries{"system.reg", "user.reg", "userdef.reg"};

/// Whether programs run in the step that leave things on drive C. The others write settings, which they replace.
bool runsPrograms(ConfigurationStage stage) {
    switch (stage) {
        using enum ConfigurationStage;
        case verbsBefore:
        case steam:
        case origin:
        case uplay:
        case gogGalaxy:
        case extraFilesBefore:
        case installer:
        case extraFilesAfter:
        case verbsAfter:
            return true;
        default:
            return false;
    }
}

/// Calls the work with each path below the folder, links included and never followed; not with what is below one for
/// which it gives false.
void forEachBelow(const std::string& folder, const std::function<bool(const std::string& path)>& goesOn) {
    if (files::kindOf(folder) != files::Kind::folder) return;
    std::error_code failed;
    fs::recursive_directory_iterator at(folder, fs::directory_options::skip_permission_denied, failed);
    while (!failed && at != fs::recursive_directory_iterator()) {
        if (!goesOn(at->path().string())) at.disable_recursion_pending();
        at.increment(failed);
    }
}

void log(const std::string& text) {
    host().log.write(Log::Level::info, "build: " + text);
}

}  // namespace

const char* nameOf(ConfigurationStage stage) {
    switch (stage) {
        using enum ConfigurationStage;
        case data:
            return "data";
        case drives:
            return "drives";
        case extensions:
            return "extensions";
        case verbScript:
            return "script of components";
        case verbsBefore:
            return "components before the game";
        case overrides:
            return "overrides";
        case programs:
            return "programs";
        case steam:
            return "Steam";
        case origin:
            return "Origin";
        case uplay:
            return "Uplay";
        case gogGalaxy:
            return "GOG Galaxy";
        case extraFilesBefore:
            return "extra files before the game";
        case installer:
            return "installer";
        case extraFilesAfter:
            return "extra files after the game";
        case verbsAfter:
            return "components after the game";
        case functionKeys:
            return "function keys";
        case mainProgram:
            return "main program";
    }
    return "";
}

BuildJournal::BuildJournal(Wrapper wrapper, BuildRecord& record)
    : wrapper_(std::move(wrapper)), record_(record) {
    record_.isFinished = false;
    if (record_.stages.empty()) static_cast<void>(files::remove(wrapper_.buildSnapshot()));
    write();
}

bool BuildJournal::isDone(ConfigurationStage stage) const {
    return std::ranges::find(record_.stages, nameOf(stage)) != record_.stages.end();
}

void BuildJournal::begin(ConfigurationStage stage) {
    if (runsPrograms(stage)) {
        const auto before = files::read(files::join(wrapper_.buildSnapshot(), stageName));
        before&&* before == nameOf(stage) ? cleanUp() : remember(stage);
    }
    write();
}

void BuildJournal::end(ConfigurationStage stage) {
    record_.stages.emplace_back(nameOf(stage));
    write();
}

void BuildJournal::finish() {
    record_.isFinished = true;
    write();
    static_cast<void>(files::remove(wrapper_.buildSnapshot()));
}

void BuildJournal::write() const {
    if (const auto written = record_.writeTo(wrapper_); !written) log(written.error().message());
}

/// Under a passing name first: one that is there is whole.
void BuildJournal::remember(ConfigurationStage stage) const {
    const std::string place = wrapper_.buildSnapshot(), passing = place + ".new";
    static_cast<void>(files::remove(place));
    static_cast<void>(files::remove(passing));
    std::string list;
    const std::size_t root = wrapper_.driveC().size();
    forEachBelow(wrapper_.driveC(), [&list, root](const std::string& path) {
        list.append(path, root).push_back('\0');
        return true;
    });
    const auto put = [&](const std::string& name, const std::string& bytes) {
        return files::write(files::join(passing, name), bytes, files::Atomically::no).has_value();
    };
    bool isWhole =
        files::createFolder(passing, false) && put(listName, list) && put(stageName, nameOf(stage));
    for (const char* name : registries) {
        const std::string registry = files::join(wrapper_.prefix(), name);
        if (files::kindOf(registry) == files::Kind::file)
            isWhole = isWhole && files::copy(registry, files::join(passing, name)).has_value();
    }
    if (!isWhole || !files::move(passing, place))
        log("nothing is remembered of what was there before " + place);
}

void BuildJournal::cleanUp() const {
    const std::string snapshot = wrapper_.buildSnapshot();
    const auto list = files::read(files::join(snapshot, listName));
    if (!list) return;
    std::unordered_set<std::string_view> before;
    for (std::size_t start = 0, end = 0; (end = list->find('\0', start)) != std::string::npos;
         start = end + 1)
        before.insert(std::string_view(*list).substr(start, end - start));
    const std::size_t root = wrapper_.driveC().size();
    std::vector<std::string> added;
    bool knowsAny = false;
    forEachBelow(wrapper_.driveC(), [&](const std::string& path) {
        const bool isKnown = before.contains(std::string_view(path).substr(root));
        knowsAny |= isKnown;
        if (!isKnown) added.push_back(path);
        return isKnown;
    });
    // A list of another drive says nothing about this one.
    if (!knowsAny) return;
    for (const std::string& path : added) {
        log("left by a step that was cut short, and removed: " + path);
        MVFileManager::removeItemAtPath(path);
    }
    for (const char* name : registries) {
        const auto bytes = files::read(files::join(snapshot, name));
        if (bytes)
            static_cast<void>(
                files::write(files::join(wrapper_.prefix(), name), *bytes, files::Atomically::yes));
    }
}

}  // namespace morvane
