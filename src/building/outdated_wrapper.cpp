#include "building/outdated_wrapper.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "building/build.h"
#include "building/master_wrapper.h"
#include "building/tools.h"
#include "engines/wrapper_updater.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/own_process.h"
#include "platform/process.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/saved_games.h"

namespace morvane::building {

namespace {

WrapperUpdate failing(const std::string& message) {
    MVAlert::showAlertErrorMessage(message);
    return WrapperUpdate::failed;
}

/// Whether it is a wrapper, be it one that an update has left in pieces.
bool isWrapper(const std::string& path) {
    return MVFileManager::directoryExistsAtPath(path) &&
           (WrapperUpdater::versionBeforeUnfinishedUpdate(path) || LibraryItem(path).isWrapper());
}

WrapperUpdate updateTo(const std::string& wrapper, const std::string& version, NSProgressView& progress) {
    const struct Closing {
        NSProgressView& panel;
        ~Closing() { panel.closeCreatingPort(CreatingPort::no); }
    } closing{progress};
    progress.setMessage(localized("Updating old Caskery wrapper..."), CreatingPort::no);
    progress.showCreatingPort(CreatingPort::no);
    progress.setSubtitle(localized("Please wait..."), CreatingPort::no);
    WrapperUpdater::updateOldCaskeryWrapperAtPath(
        wrapper, version, [&](const std::string& step) { progress.setSubtitle(step, CreatingPort::no); });
    const auto outdated = outdatedWrapper(Wrapper(wrapper));
    if ((outdated && outdated->version != version) || WrapperUpdater::needsRepair(wrapper)) {
        return failing(localized("The update of %@ is not complete. Update it again.", {wrapper}));
    }
    return WrapperUpdate::updated;
}

/// The numbers of the processes whose lines hold one of the paths.
std::vector<int> processesOf(const std::vector<std::string>& paths) {
    // Whoever asks has the path on the own command line.
    const auto own = processes::ownLine();
    const auto lines =
        MVTask::outputOf(MVTask::runProgram("ps", std::nullopt, std::vector<std::string>{"ax"}, Wait::yes));
    std::vector<int> users;
    for (const std::string& line : MVString::split(lines, "\n")) {
        if (std::ranges::none_of(paths, [&](const auto& path) { return MVString::contains(line, path); }))
            continue;
        const std::string number = MVString::split(MVString::trimmed(line), " ").front();
        const auto process = static_cast<int>(MVString::initialIntValue(number));
        if (process > 0 && std::ranges::find(own, number) == own.end()) users.push_back(process);
    }
    return users;
}

std::vector<int> usersOf(const std::string& wrapper) {
    // What an update that was killed has started runs under the other name.
    return processesOf({wrapper, WrapperUpdater::passingName(wrapper)});
}

/// Ends what an update that was killed has left running at the wrapper's other place. To be called by the
/// only update there is: then nobody else has started anything there.
void endLeftovers(const std::string& away) {
    constexpr std::chrono::seconds patience{3};
    // The first lets Wine's server write the registry.
    for (const char* signal : {"-TERM", "-KILL"}) {
        const std::vector<int> running = processesOf({away});
        for (const int process : running) {
            const std::string number = std::to_string(process);
            // Another command that waits for its turn.
            if (processes::runsOwnProgram(number)) continue;
            MVTask::ignoreEnding(MVTask::runProgram("kill", std::nullopt,
                                                    std::vector<std::string>{signal, number}, Wait::yes));
        }
        if (running.empty() || processes::waitForEnd(running, patience)) return;
    }
}

}  // namespace

std::optional<OutdatedWrapper> outdatedWrapper(const Wrapper& wrapper) {
    auto newest = getNewestCaskeryVersion();
    if (!newest) newest = getCurrentCaskeryVersion();
    if (!newest) return std::nullopt;
    auto version = WrapperUpdater::versionBeforeUnfinishedUpdate(wrapper.path());
    if (!version)
        version = findSetting(LibraryItem(wrapper.path()), wrapper_keys::bundleVersion).value_or("");
    *version = MVString::replacedAll(*version, " ", "-");
    if (version == newest) return std::nullopt;
    return OutdatedWrapper{*version, *newest};
}

bool isWrapperInUse(const Wrapper& wrapper) {
    // What has just been stopped takes a moment to go.
    constexpr std::chrono::seconds patience{3};
    const std::vector<int> users = usersOf(wrapper.path());
    return !users.empty() && (!processes::waitForEnd(users, patience) || !usersOf(wrapper.path()).empty());
}

WrapperUpdate updateOutdatedWrapper(const Wrapper& place, Build& build) {
    const std::string& path = place.path();
    const SoleChange change;
    if (!change.granted()) return WrapperUpdate::failed;
    if (const auto away = WrapperUpdater::leftAwayAt(path)) endLeftovers(*away);
    if (isWrapperInUse(place)) {
        // An update that was killed may have left it away from its place.
        const bool isThere = MVFileManager::directoryExistsAtPath(path);
        return failing(localized("Programs of %@ are running. Wait for their end, or stop them first.",
                                 {isThere ? path : WrapperUpdater::passingName(path)}));
    }
    const auto found = WrapperUpdater::backInItsPlace(path);
    if (!found) return failing(found.error().message());
    const Wrapper wrapper(*found);
    if (!isWrapper(wrapper.path())) return failing(localized("%@ is not a wrapper.", {wrapper.path()}));
    if (!build.newestCaskery && !build.currentCaskery) {
        return failing(localized("No master wrapper is known: the download site can't be reached."));
    }
    if (!outdatedWrapper(wrapper) && !WrapperUpdater::needsRepair(wrapper.path()))
        return WrapperUpdate::upToDate;
    if (!updateCaskery(build) || !build.currentCaskery) return WrapperUpdate::failed;
    if (!saved_games::backUpOrTell(wrapper, saved_games::Occasion::update)) return WrapperUpdate::failed;
    return updateTo(wrapper.path(), *build.currentCaskery, *build.progressWindow);
}

}  // namespace morvane::building
