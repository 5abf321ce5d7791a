#include "building/installation.h"

// The stage that finds the game's own installer and runs it inside the wrapper.

#include <algorithm>
#include <array>
#include <chrono>
#include <set>

#include "building/build.h"
#include "building/entry_removal.h"
#include "building/foreseen_questions.h"
#include "building/program_check.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/name_patterns.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/volumes.h"
#include "ports/exe_selection.h"
#include "wrapper/launch_check.h"
#include "wrapper/port_manager.h"
#include "wrapper/windows_paths.h"

namespace morvane {
namespace {

using namespace std::chrono_literals;

constexpr std::array<std::string_view, 3> shortcutEndings{".desktop", ".lnk", ".appref-ms"};

bool isShortcut(std::string_view name) {
    return std::any_of(shortcutEndings.begin(), shortcutEndings.end(),
                       [name](std::string_view ending) { return name.ends_with(ending); });
}

/// The folders in which an installer of that source is looked for.
std::vector<std::string> placesToSearch(const std::optional<std::string>& source) {
    if (source != "CD") return {host().folders.downloads};
    return volumes::mounted(host().folders);
}

std::optional<std::string> installerByName(const std::string& name, const std::vector<std::string>& places) {
    for (const std::string& place : places) {
        const auto found = MVFileManager::filesCompatibleWithStructure(name, place);
        if (!found.empty() && MVFileManager::regularFileExistsAtPath(found.front())) return found.front();
    }
    return std::nullopt;
}

/// The program that the first disc with a working autorun file starts.
std::optional<std::string> installerByAutorun(const std::vector<std::string>& places) {
    for (const std::string& place : places) {
        if (!MVFileManager::directoryExistsAtPath(place)) continue;
        std::string autorun;
        for (const std::string& name : MVFileManager::contentsOfDirectoryAtPath(place)) {
            if (name == "AUTORUN.INF" || (name == "autorun.inf" && autorun.empty())) autorun = name;
        }
        if (autorun.empty()) continue;
        const std::string file = files::join(place, autorun);
        if (!MVFileManager::regularFileExistsAtPath(file)) continue;
        const auto program = NSExeSelection::autorunProgram(file);
        if (program && MVFileManager::regularFileExistsAtPath(*program)) return program;
    }
    return std::nullopt;
}

/// The installer that the user picks, which the wrapper can run; nothing when the user goes on without one.
std::optional<std::string> installerByChoice(const std::string& expectedName, const Wrapper& wrapper) {
    const OpenPanel panel = building::installerPanel(expectedName);
    for (;;) {
        const auto chosen = MVAlert::chooseFiles(panel);
        if (!chosen.empty()) {
            const auto checked = checkMachine(chosen.front(), wrapper.path());
            if (checked) return chosen.front();
            MVAlert::showAlertErrorMessage(checked.error().message());
        } else if (MVAlert::isAnsweredYes(building::noInstallerDialog())) {
            return std::nullopt;
        }
        // A closed main queue answers every question with its default: the application is ending, and nobody
        // will choose.
        if (!host().mainQueue.callAndWait([] {})) return std::nullopt;
    }
}

std::optional<std::string> findInstaller(const std::optional<std::string>& name,
                                         const std::optional<std::string>& source, const Wrapper& wrapper) {
    if (auto installer = foundInstaller(name, source)) return installer;
    return installerByChoice(building::installerNameIn(name), wrapper);
}

/// Calls the work every three seconds on the main thread while it lives: a worker has no event loop of its
/// own.
class RepeatingTimer {
  public:
    explicit RepeatingTimer(MainQueue::Work work) : timer_(host().mainQueue.every(3s, std::move(work))) {}
    ~RepeatingTimer() { host().mainQueue.cancelTimer(timer_); }
    RepeatingTimer(const RepeatingTimer&) = delete;
    RepeatingTimer& operator=(const RepeatingTimer&) = delete;

  private:
    MainQueue::TimerId timer_;
};

}  // namespace

std::optional<std::string> foundInstaller(const std::optional<std::string>& name,
                                          const std::optional<std::string>& source) {
    // An empty name is no name: as a pattern it would run whatever lies first in the folder of downloads.
    if (!name || name->empty()) return std::nullopt;
    const auto places = placesToSearch(source);
    auto installer = installerByName(*name, places);
    return installer || source != "CD" ? installer : installerByAutorun(places);
}

bool installApp(Build& build, const std::optional<std::string>& installerName,
                const std::optional<std::string>& source, const NSPortManager& port) {
    const auto installer = findInstaller(installerName, source, Wrapper(port.path));
    if (!installer) return true;
    build.useFile(*installer, "");
    build.setMessage(localized("Running %@...", {*installer}));
    const std::string note = localized("IMPORTANT NOTE: Don’t launch the app after the installation.");
    if (source == "GOG") {
        build.setSubtitle(filled(
            "%@ %@", {note, localized("GOG games might prompt some errors in the end, but that's normal.")}));
    } else {
        build.setSubtitle(note);
    }
    removeUselessDesktopFilesCreatedOnBlock([&port, &installer] {
        port.runWithArguments({"CKS-installer", *installer});
    });
    return true;
}

bool runInstaller(const std::string& installer, const std::string& flags, const NSPortManager& port) {
    const RepeatingTimer timer([wrapper = Wrapper(port.path)] { keepWindowInFrontForAppOfTimer(wrapper); });
    removeUselessDesktopFilesCreatedOnBlock([&] { port.runEXE(installer, flags); });
    return true;
}

void keepWindowInFrontForAppOfTimer(const Wrapper& wrapper) {
    host().userInterface.bringToFront(wrapper.path());
}

std::vector<std::string> desktopFolderBeforeExtraction() {
    const std::string& desktop = host().folders.desktop;
    if (!MVFileManager::directoryExistsAtPath(desktop)) return {};
    return MVFileManager::contentsOfDirectoryAtPath(desktop);
}

void removeAllFromDesktopFolderAfterExtractionExcept(const std::vector<std::string>& names) {
    const std::set<std::string> before(names.begin(), names.end());
    for (const std::string& name : desktopFolderBeforeExtraction()) {
        if (before.contains(name) || !isShortcut(name)) continue;
        // A folder of such a name stays: no installer leaves one as a shortcut.
        removeFileOrLink(files::join(host().folders.desktop, name));
    }
}

void removeUselessDesktopFilesCreatedOnBlock(const std::function<void()>& work) {
    const std::string& desktop = host().folders.desktop;
    // Without knowing what was there before, every shortcut of the user would count as new.
    if (MVFileManager::directoryExistsAtPath(desktop) && !files::list(desktop)) {
        work();
        return;
    }
    const auto before = desktopFolderBeforeExtraction();
    try {
        work();
    } catch (...) {
        // A cancelled installer has left its shortcuts as well.
        removeAllFromDesktopFolderAfterExtractionExcept(before);
        throw;
    }
    removeAllFromDesktopFolderAfterExtractionExcept(before);
}

bool relativePathsAreInExes(const std::vector<ExeEntry>& exes) {
    return std::any_of(exes.begin(), exes.end(), [](const ExeEntry& exe) {
        const std::string program = NSUtilities::getFileNameOfWindowsPath(exe.path);
        return MVString::contains(program, "*") || program == "C:/nothing.exe";
    });
}

}  // namespace morvane
