// What is done with an installed game: running, updating, debugging, tools, mods; and watching and rating any
// game.

#include <algorithm>
#include <array>
#include <utility>

#include "building/archives.h"
#include "building/build.h"
#include "building/outdated_wrapper.h"
#include "foundation/alerts.h"
#include "foundation/computer_information.h"
#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/catalogue_addresses.h"
#include "library/description_view.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "platform/workspace.h"
#include "wrapper/archive_tools.h"
#include "wrapper/launch_check.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/processes.h"
#include "wrapper/windows_paths.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

constexpr const char* galaxyProgram = "/Program Files/GalaxyClient/GalaxyClient.exe";
constexpr std::array<const char*, 2> logNames{"LastRunX11.log", "LastRunWine.log"};

bool isGalaxyWrapper(const std::string& path) {
    const LibraryItem item(path);
    return !item.isBoxerGame() && findSetting(item, wrapper_keys::program) == galaxyProgram;
}

/// The exit status; nothing when it could not be started, which the user was told.
std::optional<int> runAndWait(const std::string& program, const std::vector<std::string>& arguments) {
    const auto ended = MVTask::runProgram(program, "~/", arguments, nullptr);
    return ended ? std::optional(ended->ending.shellStatus()) : std::nullopt;
}

void inBackground(const char* queue, std::function<void()> work) {
    MVThread::dispatchQueueWithName(queue, Priority::normal, std::move(work));
}

void switchFunctionKeys(const char* mode) {
    MVTask::ignoreEnding(MVTask::runProgram(files::join(host().folders.resources, "fntoggle"), "/",
                                            std::vector<std::string>{mode}, Wait::yes));
}

void openLater(const std::string& path) {
    MVThread::dispatchBlockInMainQueue([path] { host().userInterface.openPath(path); });
}

/// A worker. The exit status of the run.
std::optional<int> runDebugModeAndShowLogs(const std::string& wrapper, bool isGalaxy) {
    if (!Wrapper(wrapper).runsPrograms()) {
        MVAlert::showAlertErrorMessage(localized("Not a valid Caskery wrapper!"));
        return std::nullopt;
    }
    const auto status = runAndWait(Wrapper(wrapper).tool(), {"debug"});
    const std::string logs = wrapper + layout::resources + "/Logs/";
    if (isGalaxy) {
        for (const char* name : logNames) MVFileManager::removeItemAtPath(logs + name);
        return status;
    }
    if (!MVAlert::showBooleanAlertMessage(localized("Do you want to see the debug logs?"), "Debug", true))
        return status;
    for (const char* name : logNames) {
        if (MVFileManager::regularFileExistsAtPath(logs + name)) openLater(logs + name);
    }
    return status;
}

bool reported(const std::string& message) {
    MVAlert::showAlertErrorMessage(message);
    return false;
}

bool reportClash(const std::string& name, const std::string& folder) {
    return reported(
        localized("%@ can't be copied to %@: a file and a folder can't replace each other.", {name, folder}));
}

/// The old file goes when the new one is there.
bool replaceFile(const std::string& source, const std::string& destination) {
    const std::string previous = destination + ".morvane-previous";
    if (!MVFileManager::moveItemAtPath(destination, previous)) return false;
    if (archives::copyWhole(source, destination)) {
        MVFileManager::removeItemAtPath(previous);
        return true;
    }
    MVFileManager::moveItemAtPath(previous, destination);
    return false;
}

/// Whether the item is there then, or the user wants to keep what was there before.
bool copyItem(const std::string& source, const std::string& folder) {
    const std::string name = files::lastComponent(source);
    if (name.starts_with(".")) return true;
    const std::string destination = files::join(folder, name);
    const auto kind = files::kindBehind(source), there = files::kindBehind(destination);
    if (kind == files::Kind::folder && files::kindOf(source) == files::Kind::folder) {
        if (there != files::Kind::none && there != files::Kind::folder) return reportClash(name, folder);
        const auto contents = files::list(source);
        if (!contents) return reported(contents.error().message());
        std::vector<std::string> paths;
        for (const std::string& each : *contents) {
            paths.push_back(files::join(source, each));
        }
        return NSDescriptionView::copyFiles(paths, destination);
    }
    if (files::kindOf(destination) == files::Kind::none) {
        return MVFileManager::copyItemAtPath(source, destination);
    }
    if (there == files::Kind::folder) return reportClash(name, folder);
    const bool replaces = MVAlert::showBooleanAlertMessage(
        localized("There is already a file called %@ in the %@ folder. Do you want to replace it?",
                  {name, folder}),
        "Warning", false);
    return !replaces || replaceFile(source, destination);
}

/// The number of the page's button for the CrossOver product; empty when there is none.
std::string crossTieOf(const std::string& page) {
    constexpr std::string_view before = "class=\"app_view_button button_tie\" data-url=\"";
    const std::size_t start = page.find(before);
    if (start == std::string::npos) return "";
    const std::string rest = page.substr(start + before.size(), 4096);
    const std::string tie = rest.substr(0, rest.find('"'));
    const bool isPlain =
        std::all_of(tie.begin(), tie.end(), [](unsigned char c) { return c > ' ' && c < 0x7f; });
    return isPlain ? tie : "";
}

std::optional<std::string> pathOf(const NSDescriptionView::Game& game) {
    return game ? std::optional(game->gamePath) : std::nullopt;
}

}  // namespace

void NSDescriptionView::playGame(const Game& game) {
    if (game) updateAndRunWrapper(game->gamePath);
}

void NSDescriptionView::updateAndRunWrapper(const std::string& path) {
    if (Wrapper(path).runsPrograms()) return updateWrapper(path);
    const LibraryItem item(path);
    if (item.isBoxerGame()) return runWrapper(path, path);
    const auto name = findSetting(item, wrapper_keys::bundleExecutable);
    // Without settings there may be nothing at all any more, which the user is told.
    if (!name && MVFileManager::directoryExistsAtPath(path)) return;
    if (name && name->find('/') != std::string::npos) return;
    runWrapper(path, filled("%@/Contents/MacOS/%@", {path, name.value_or("")}));
}

void NSDescriptionView::updateWrapper(const std::string& wrapper) {
    // A machine that is no Mac tells no version; its wrappers run best when they are up to date as well.
    const bool isOldSystem = !NSComputerInformation::macOsVersion().empty() &&
                             !NSComputerInformation::isSystemMacOsEqualOrSuperiorTo("10.11");
    const std::string program = Wrapper(wrapper).launcher();
    const auto run = [self = self_, wrapper, program] {
        onPage(self, [=](NSDescriptionView& page) { page.runWrapper(wrapper, program); });
    };
    if (isOldSystem) return run();
    inBackground("app.morvane.descriptionViewUpdateOldWrapper", [wrapper, run, progress = progress_] {
        const auto outdated = building::outdatedWrapper(Wrapper(wrapper));
        if (outdated &&
            MVAlert::showBooleanAlertMessageWithIconNamed(
                localized("Your wrapper is at the version %@ while the most recent one is %@. It might only "
                          "work in "
                          "your computer if you are using the most recent version. Do you want to update it?",
                          {outdated->version, outdated->newest}),
                "Outdated Wrapper", "Critical", true)) {
            Build build(progress);
            try {
                building::updateOutdatedWrapper(Wrapper(wrapper), build);
            } catch (const Cancelled&) {
                return;
            }
        }
        run();
    });
}

void NSDescriptionView::runWrapper(const std::string& wrapper, const std::string& binary) {
    const LibraryItem item(wrapper);
    const bool boxer = item.isBoxerGame();
    const bool isThere =
        boxer ? MVFileManager::directoryExistsAtPath(binary) : MVFileManager::regularFileExistsAtPath(binary);
    if (!isThere) {
        MVAlert::showAlertErrorMessage(MVFileManager::fileExistsAtPath(wrapper)
                                           ? localized("The App is corrupted! The executable is missing!")
                                           : localized("The App was moved!"));
        return;
    }
    bool switches = false, isGalaxy = false;
    if (!boxer) {
        const NSPortManager settings = NSPortManager::managerOfItem(item);
        const auto program = settings.find(wrapper_keys::program);
        isGalaxy = program == galaxyProgram;
        if (program && !program->empty()) {
            const auto path =
                NSUtilities::getMacPathForWindowsPath(filled("C:%@", {*program}), item.wrapper().path());
            if (!path || !MVFileManager::regularFileExistsAtPath(*path)) {
                MVAlert::showAlertErrorMessage(localized("The main EXE of the port is missing!"));
                return;
            }
            if (const auto checked = checkMachine(*path, item.wrapper().path()); !checked)
                return MVAlert::showAlertErrorMessage(checked.error().message());
        }
        switches = settings.get(wrapper_keys::isFnToggleEnabled);
    }
    if (isGalaxy && selectedGamePath() == wrapper) {
        page_.actionTitle = MVString::uppercased(localized("Play"));
        if (callbacks_.actionTitleChanged) callbacks_.actionTitleChanged();
    }
    inBackground("app.morvane.descriptionViewRunApp", [=, self = self_] {
        std::optional<int> status;
        const bool switching = switches && !NSUtilities::isUsingFnKeysFunctions();
        if (switching) switchFunctionKeys("on");
        if (boxer) {
            openLater(wrapper);
        } else if (isGalaxy) {
            status = runDebugModeAndShowLogs(wrapper, isGalaxy);
        } else {
            status = runAndWait(binary, {});
        }
        if (switching) switchFunctionKeys("off");
        if (!status) return;
        onPage(self, [status](NSDescriptionView& page) {
            if (page.callbacks_.gameEnded) page.callbacks_.gameEnded(*status);
        });
    });
}

void NSDescriptionView::debugGame(const Game& game) {
    if (const auto path = pathOf(game)) runDebugModeOfWrapper(*path);
}

void NSDescriptionView::runDebugModeOfWrapper(const std::string& wrapper) {
    if (!Wrapper(wrapper).runsPrograms()) {
        MVAlert::showAlertErrorMessage(localized("Not a valid Caskery wrapper!"));
        return;
    }
    inBackground("app.morvane.descriptionViewRunDebugMode",
                 [wrapper] { runDebugModeAndShowLogs(wrapper, isGalaxyWrapper(wrapper)); });
}

void NSDescriptionView::forceCloseGame(const Game& game) {
    const auto path = pathOf(game);
    if (!path || game->isGameInTheServer ||
        !MVAlert::showBooleanAlertMessage(
            localized("This will kill every process related with that app. Do you really want to do it?"),
            "Warning", false)) {
        return;
    }
    NSUtilities::terminateAllCaskeryProcessesForWrapper(LibraryItem(*path).wrapper().path(),
                                                        RemovingWrapper::no);
}

void NSDescriptionView::removeGame(const Game& game) {
    const auto path = pathOf(game);
    if (!path || game->isGameInTheServer) return;
    NSAppsArray::shouldRemoveLocalPort(*path, [self = self_, path = *path] {
        if (*self == nullptr) return;
        if ((*self)->callbacks_.removePort) (*self)->callbacks_.removePort(path);
        (*self)->itemRemoved(path);
    });
}

void NSDescriptionView::showInFinder(const Game& game) {
    const auto path = pathOf(game);
    if (path && MVFileManager::fileExistsAtPath(*path)) return host().userInterface.revealPath(*path);
    MVAlert::showAlertErrorMessage(localized("Folder not found."));
}

void NSDescriptionView::gameProperties(const Game& game) {
    const auto path = pathOf(game);
    if (path && !game->isGameInTheServer && callbacks_.properties) callbacks_.properties(*path);
}

void NSDescriptionView::openC_Drive(const Game& game) {
    const auto path = pathOf(game);
    const std::string drive = path.value_or("") + layout::dosdevices + "/c:/";
    if (path && MVFileManager::directoryExistsAtPath(drive)) return host().userInterface.openPath(drive);
    MVAlert::showAlertErrorMessage(localized("drive_c folder not found."));
}

void NSDescriptionView::launchCaskery(const Game& game) {
    const auto path = pathOf(game);
    const std::string program = Wrapper(path.value_or("")).settingsTool();
    if (!path || !files::isExecutable(program)) {
        MVAlert::showAlertErrorMessage(localized("There is no Control App available!"));
        return;
    }
    MVTask::runProgramAtPath(program);
}

void NSDescriptionView::runSelectedWrapperWithFlag(const Game& game, const std::string& flag) {
    const auto path = pathOf(game);
    if (!path || !Wrapper(*path).runsPrograms()) return;
    inBackground("app.morvane.listViewRunWrapperWithFlag",
                 [path = *path, flag] { runAndWait(Wrapper(path).tool(), {flag}); });
}

void NSDescriptionView::installModPatch(const Game& game) {
    const auto path = pathOf(game);
    if (path && !game->isGameInTheServer) installModPatchAtWrapper(*path, {});
}

void NSDescriptionView::installModPatchAtWrapper(const std::string& wrapper,
                                                 std::function<void(bool installed)> completion) {
    const auto inBackgroundThenTell = [&](const std::function<bool()>& work) {
        inBackground("app.morvane.descriptionViewInstallMod", [work, completion] {
            const bool installed = work();
            if (completion) MVThread::dispatchBlockInMainQueue([=] { completion(installed); });
        });
    };
    const auto tellOfNothing = [&] {
        if (completion) completion(false);
    };
    OpenPanel source;
    source.title = localized("Select the Mod/Patch file(s) and/or folder(s)");
    source.startFolder = host().folders.home;
    source.folders = source.multiple = source.packagesAsFolders = true;
    const auto chosen = MVAlert::chooseFiles(source);
    if (chosen.empty()) return tellOfNothing();
    const std::string extension = MVString::lowercased(files::extension(chosen.front()));
    if (chosen.size() == 1 && extension == "exe") {
        return inBackgroundThenTell([program = Wrapper(wrapper).tool(), exe = chosen.front()] {
            return runAndWait(program, {exe}) == 0;
        });
    }

    OpenPanel destination;
    destination.title = localized("Select the destination");
    destination.startFolder = NSUtilities::getMacPathForWindowsPath("C:/", wrapper).value_or(wrapper);
    destination.files = false;
    destination.folders = destination.packagesAsFolders = true;
    const auto folder = MVAlert::chooseFiles(destination);
    if (folder.empty()) return tellOfNothing();
    const auto archives = archiveExtensions();
    const bool isArchive = chosen.size() == 1 && std::ranges::find(archives, extension) != archives.end() &&
                           MVFileManager::regularFileExistsAtPath(chosen.front());
    inBackgroundThenTell([isArchive, chosen, to = folder.front()] {
        if (!isArchive) return copyFiles(chosen, to);
        extractFileToFolder(chosen.front(), to, Replacing::ask);
        return true;
    });
}

bool NSDescriptionView::copyFiles(const std::vector<std::string>& paths, const std::string& folder) {
    if (!MVFileManager::directoryExistsAtPath(folder) &&
        !MVFileManager::createDirectoryAtPath(folder, IntermediateFolders::yes)) {
        return false;
    }
    const auto target = files::resolved(folder);
    bool copied = true;
    for (const std::string& path : paths) {
        const auto real = files::resolved(path);
        const bool intoItself = real && target &&
                                (files::join(*target, files::lastComponent(path)) == *real ||
                                 *target == *real || target->starts_with(*real + "/"));
        if (intoItself) {
            copied = reported(localized("%@ can't be copied onto itself.", {path}));
            continue;
        }
        copied &= copyItem(path, folder);
    }
    return copied;
}

void NSDescriptionView::rateGame(const Game& game) {
    constexpr std::int64_t firstKnownID = 2;
    if (!game || game->gameName.empty() || game->gameID < firstKnownID) return;
    // The card's family is what a program prints.
    inBackground("app.morvane.descriptionViewRateGame", [self = self_, game] {
        onPage(self, [game, card = NSComputerInformation::graphicCardType().value_or("")](
                         NSDescriptionView& page) { page.openVotingPanel(*game, card); });
    });
}

void NSDescriptionView::openVotingPanel(const NSGameData& game, const std::string& card) {
    closeVotingPanel();
    const std::string title = localized("Rating \"%@\" on %@", {game.gameName, card});
    votingPanel_ =
        std::make_shared<NSVotingPanel>(game.gameID, title, [self = self_, number = ++votingPanels_] {
            // Not at once: it is the panel that calls.
            onPage(self, [number](NSDescriptionView& page) {
                if (number == page.votingPanels_) page.closeVotingPanel();
            });
        });
    if (callbacks_.showVotingPanel) callbacks_.showVotingPanel(votingPanel_);
}

void NSDescriptionView::closeVotingPanel() {
    if (const auto panel = std::exchange(votingPanel_, nullptr); panel && callbacks_.votingPanelClosed) {
        callbacks_.votingPanelClosed();
    }
}

void NSDescriptionView::playTrailer(const Game& game) {
    if (!game) return;
    if (!game->trailer || game->trailer->empty()) {
        MVAlert::showAlertMessage(localized("There is no trailer available."), "Warning");
        return;
    }
    // Whether there is a network at all is asked for first, which takes its time.
    inBackground("app.morvane.descriptionViewTrailer",
                 [self = self_, game, width = trailerWidth_, height = trailerHeight_] {
                     const std::string html = game->trailerHTMLwithSize(width, height);
                     onPage(self, [game, html](NSDescriptionView& page) {
                         page.showWindow(localized("Trailer"), html, *game->trailer);
                     });
                 });
}

void NSDescriptionView::watchInstructions(const Game& game) {
    if (game)
        watchInstructionsForSource(game,
                                   game->gameSourcesList.empty() ? "Other" : game->gameSourcesList.front());
}

void NSDescriptionView::watchInstructionsForSource(const Game& game, const std::string& source) {
    if (!game) return;
    inBackground("app.morvane.descriptionViewInstructions", [self = self_, source, free = game->isGameFree,
                                                             width = trailerWidth_, height = trailerHeight_] {
        const auto linkFor = [](const std::string& name) {
            const auto answer = catalogue::answerOf(catalogue::instructionsAddress(name));
            return answer && MVString::isValidUtf8(*answer) ? MVString::trimmed(*answer) : "";
        };
        std::string link = linkFor(source);
        if (link.empty()) link = linkFor(free ? "Free" : "Other");
        const std::string page = NSGameData::videoPlayerPageFromLink(link, width, height);
        onPage(self, [page, link](NSDescriptionView& view) {
            view.showWindow(localized("Instructions"), page, link);
        });
    });
}

void NSDescriptionView::showCrossOverAlternative(const Game& game) {
    if (!game || !isWebLink(game->crossoverAlternative)) return;
    inBackground("app.morvane.descriptionViewCrossOver", [address = game->crossoverAlternative] {
        const std::string tie = crossTieOf(catalogue::answerOf(address).value_or(""));
        const bool installs = !tie.empty() && workspace::opensScheme("com-codeweavers-crossover-crosstie");
        const std::string link =
            installs ? filled("com-codeweavers-crossover-crosstie:install?crosstie=%@", {tie}) : address;
        MVThread::dispatchBlockInMainQueue([link] { host().userInterface.openLink(link); });
    });
}

}  // namespace morvane
