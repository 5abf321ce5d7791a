#include "wrapper/processes.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/own_process.h"
#include "platform/ownership.h"
#include "wrapper/layout.h"

namespace morvane::NSUtilities {
namespace {

std::string run(const std::string& program, const std::vector<std::string>& arguments) {
    return MVTask::outputOf(MVTask::runProgram(program, std::nullopt, arguments, Wait::yes));
}

struct WineNames {
    std::string wine = "wine", server = "wineserver";
};

/// Engines name their programs after the game; the last of a kind in the listing wins.
WineNames wineNamesOf(const std::string& wrapper) {
    WineNames names;
    const auto listing = files::listBelow(wrapper + layout::engine + "/bin");
    if (!listing) return names;
    for (const std::string& item : *listing) {
        const std::string name = files::lastComponent(item);
        if (name.starts_with('-')) continue;  // would be an option of killall
        if (name.ends_with("Wine")) {
            names.wine = name;
        } else if (name.ends_with("Wineserver")) {
            names.server = name;
        }
    }
    return names;
}

/// Whether processes may be selected by the path, and the folder removed. Not a path whose processes are
/// everybody's: the root, the home folder and what lies above it, and a path that is not plain.
bool isWrapperPath(const std::string& path) {
    if (!path.starts_with('/')) return false;
    for (const std::string& level : MVString::split(path, "/")) {
        if (level == "." || level == "..") return false;
    }
    const auto enclosesHome = [](std::string folder) {
        while (folder.ends_with('/')) folder.pop_back();
        return (host().folders.home + "/").starts_with(folder + "/");
    };
    return !enclosesHome(path) && !enclosesHome(files::resolved(path).value_or(path));
}

/// A process number from a listing that may be stopped. "-1" and "0" mean whole groups to `kill`, 1 is the
/// system, and the asking program, its ancestors and other commands of ours, which wait for what they have
/// started, have the wrapper's path in their own command lines.
bool mayBeStopped(const std::string& number, const std::vector<std::string>& own) {
    const bool isNumber = !number.empty() && number.find_first_not_of("0123456789") == std::string::npos;
    return isNumber && number.front() != '0' && number != "1" &&
           std::ranges::find(own, number) == own.end() && !processes::runsOwnProgram(number);
}

/// The number of a line's process; nothing for one that may not be stopped.
std::optional<std::string> stoppable(const std::string& line, const std::vector<std::string>& own) {
    const std::vector<std::string> pieces = MVString::split(line, " ");
    const auto number = std::ranges::find_if(pieces, [](const auto& piece) { return !piece.empty(); });
    return number != pieces.end() && mayBeStopped(*number, own) ? std::optional(*number) : std::nullopt;
}

std::vector<std::string> listedProcesses(const std::optional<std::string>& wrapper) {
    return processesInListing(run("ps", {"ax"}), wrapper);
}

void removeLock(const std::string& wrapper) {
    const std::string folder =
        host().folders.sharedTemporary + "/" + MVString::replacedAll(wrapper, "/", "xCKx");
    // Anybody may put something here: what is not ours stays, and so does what a link leads to.
    if (!files::isOwn(folder)) return;
    if (files::kindOf(folder) == files::Kind::folder) MVFileManager::removeItemAtPath(folder + "/lockfile");
    MVFileManager::removeItemAtPath(folder);
}

/// Removes what the launch service has registered for the wrapper. A line is "<number or ->  <status>
/// <label>".
void removeLaunchRegistrations(const std::string& wrapper) {
    const std::string name = files::lastComponent(wrapper);
    for (const std::string& line : MVString::split(run("launchctl", {"list"}), "\n")) {
        const std::size_t dash = line.find('-');
        if (dash == std::string::npos || !MVString::contains(line, name)) continue;
        std::string label = MVString::trimmed(std::string_view(line).substr(dash + 1));
        if (const std::size_t bracket = label.find('['); bracket != std::string::npos)
            label.erase(0, bracket);
        run("launchctl", {"remove", label});
    }
}

}  // namespace

std::vector<std::string> processesInListing(std::string_view listing,
                                            const std::optional<std::string>& wrapper) {
    const std::vector<std::string> own = processes::ownLine();
    std::vector<std::string> numbers;
    for (const std::string& line : MVString::split(listing, "\n")) {
        const bool selected = wrapper ? MVString::contains(line, *wrapper)
                                      : MVString::contains(MVString::lowercased(line), "wine");
        if (!selected) continue;
        if (const auto number = stoppable(line, own)) numbers.push_back(*number);
    }
    return numbers;
}

std::vector<int> runningProcessesOfWrapper(const std::string& wrapper) {
    std::vector<int> numbers;
    if (!isWrapperPath(wrapper)) return numbers;
    for (const std::string& number : listedProcesses(files::resolved(wrapper).value_or(wrapper))) {
        numbers.push_back(static_cast<int>(MVString::initialIntValue(number)));
    }
    return numbers;
}

bool terminateAllCaskeryProcessesForWrapper(const std::optional<std::string>& wrapper,
                                            RemovingWrapper removing) {
    MVThread::dispatchQueueWithName(
        "app.morvane.killingCaskeryProcessesForWrapper", Priority::normal,
        [wrapper, removing] { terminateAllCaskeryProcessesForWrapperNow(wrapper, removing); });
    return true;
}

void terminateAllCaskeryProcessesForWrapperNow(const std::optional<std::string>& wrapper,
                                               RemovingWrapper removing) {
    if (wrapper && !isWrapperPath(*wrapper)) return;
    const bool exists = wrapper && MVFileManager::fileExistsAtPath(*wrapper);
    const WineNames names = exists ? wineNamesOf(*wrapper) : WineNames{};
    run("killall", {"-9", names.wine});
    run("killall", {"-9", names.server});
    for (const std::string& number : listedProcesses(wrapper)) run("kill", {"-9", number});
    if (!wrapper) return;
    removeLock(*wrapper);
    removeLaunchRegistrations(*wrapper);
    if (removing == RemovingWrapper::yes && exists) MVFileManager::removeItemAtPath(*wrapper);
}

std::vector<bool> whichWrappersRun(const std::vector<std::string>& wrappers) {
    const std::vector<std::string> own = processes::ownLine();
    std::vector<std::string> lines = MVString::split(run("ps", {"ax"}), "\n");
    std::erase_if(lines, [&](const std::string& line) { return !stoppable(line, own); });
    std::vector<bool> runs;
    for (const std::string& wrapper : wrappers) {
        const std::string inside = files::resolved(wrapper).value_or(wrapper) + "/";
        runs.push_back(std::ranges::any_of(
            lines, [&](const std::string& line) { return MVString::contains(line, inside); }));
    }
    return runs;
}

}  // namespace morvane::NSUtilities
