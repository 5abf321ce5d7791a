#include "library/game_actions.h"
#include "library/apps_questions.h"

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
        return copyFiles(paths, destination);
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

std::optional<std::string> pathOf(const GamePointer& game) {
    return game ? std::optional(game->gamePath) : std::nullopt;
}

}  // namespace

void GameActions::playGame(const GamePointer& game) {
    if (game) updateAndRunWrapper(game->gamePath);
}

void GameActions::updateAndRunWrapper(const std::string& path) {
    if (Wrapper(path).runsPrograms()) return updateWrapper(path);
    const LibraryItem item(path);
    if (item.isBoxerGame()) return runWrapper(path, path);
    const auto name = findSetting(item, wrapper_keys::bundleExecutable);
    // Without settings there may be nothing at all any more, which the user is told.
    if (!name && MVFileManager::directoryExistsAtPath(path)) return;
    if (name && name->find('/') != std::string::npos) return;
    runWrapper(path, filled("%@/Contents/MacOS/%@", {path, name.value_or("")}));
}

void GameActions::updateWrapper(const std::string& wrapper) {
    // A machine that is no Mac tells no version; its wrappers run best when they are up to date as well.
    const bool isOldSystem = !NSComputerInformation::macOsVersion().empty() &&
                             !NSComputerInformation::isSystemMacOsEqualOrSuperiorTo("10.11");
    const std::string program = Wrapper(wrapper).launcher();
    // From now on, not only once it has started: a second click meanwhile is not to start it again.
    const auto starting = page_.callbacks().runs ? page_.callbacks().runs(wrapper) : nullptr;
    const auto run = [self = page_.handle(), wrapper, program, starting] {
        NSDescriptionView::onPage(self, [wrapper, program, starting](NSDescriptionView& page) {
            page.actions().runWrapper(wrapper, program);
        });
    };
    if (isOldSystem) return run();
    inBackground("app.morvane.descriptionViewUpdateOldWrapper", [wrapper, run, progress = page_.progress()] {
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

void GameActions::runWrapper(const std::string& wrapper, const std::string& binary) {
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
    if (isGalaxy && page_.selectedGamePath() == wrapper) {
        page_.titleActionButtonWith(localized("Play"));
    }
    auto running = page_.callbacks().runs ? page_.callbacks().runs(wrapper) : nullptr;
    inBackground("app.morvane.descriptionViewRunApp",
                 [=, self = page_.handle(), running = std::move(running)] {
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
                     NSDescriptionView::onPage(self, [status](NSDescriptionView& page) {
                         if (page.callbacks().gameEnded) page.callbacks().gameEnded(*status);
                     });
                 });
}

void GameActions::debugGame(const GamePointer& game) {
    if (const auto path = pathOf(game)) runDebugModeOfWrapper(*path);
}

void runDebugModeOfWrapper(const std::string& wrapper) {
    if (!Wrapper(wrapper).runsPrograms()) {
        MVAlert::showAlertErrorMessage(localized("Not a valid Caskery wrapper!"));
        return;
    }
    inBackground("app.morvane.descriptionViewRunDebugMode",
                 [wrapper] { runDebugModeAndShowLogs(wrapper, isGalaxyWrapper(wrapper)); });
}

void GameActions::forceCloseGame(const GamePointer& game) {
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

void GameActions::removeGame(const GamePointer& game) {
    const auto path = pathOf(game);
    if (!path || game->isGameInTheServer) return;
    apps_questions::shouldRemoveLocalPort(*path, [self = page_.handle(), path = *path] {
        if (*self == nullptr) return;
        if ((*self)->callbacks().removePort) (*self)->callbacks().removePort(path);
        (*self)->itemRemoved(path);
    });
}

void GameActions::showInFinder(const GamePointer& game) {
    const auto path = pathOf(game);
    if (path && MVFileManager::fileExistsAtPath(*path)) return host().userInterface.revealPath(*path);
    MVAlert::showAlertErrorMessage(localized("Folder not found."));
}

void GameActions::gameProperties(const GamePointer& game) {
    const auto path = pathOf(game);
    if (path && !game->isGameInTheServer && page_.callbacks().properties) page_.callbacks().properties(*path);
}

void GameActions::openC_Drive(const GamePointer& game) {
    const auto path = pathOf(game);
    const std::string drive = path.value_or("") + layout::dosdevices + "/c:/";
    if (path && MVFileManager::directoryExistsAtPath(drive)) return host().userInterface.openPath(drive);
    MVAlert::showAlertErrorMessage(localized("drive_c folder not found."));
}

void GameActions::launchCaskery(const GamePointer& game) {
    const auto path = pathOf(game);
    const std::string program = Wrapper(path.value_or("")).settingsTool();
    if (!path || !files::isExecutable(program)) {
        MVAlert::showAlertErrorMessage(localized("There is no Control App available!"));
        return;
    }
    MVTask::runProgramAtPath(program);
}

void runSelectedWrapperWithFlag(const GamePointer& game, const std::string& flag) {
    const auto path = pathOf(game);
    if (!path || !Wrapper(*path).runsPrograms()) return;
    inBackground("app.morvane.listViewRunWrapperWithFlag",
                 [path = *path, flag] { runAndWait(Wrapper(path).tool(), {flag}); });
}

void GameActions::taskManager(const GamePointer& game) {
    runSelectedWrapperWithFlag(game, "CKS-taskmgr");
}
void GameActions::commandPrompt(const GamePointer& game) {
    runSelectedWrapperWithFlag(game, "CKS-cmd");
}
void GameActions::registryEditor(const GamePointer& game) {
    runSelectedWrapperWithFlag(game, "CKS-regedit");
}
void GameActions::wineConfiguration(const GamePointer& game) {
    runSelectedWrapperWithFlag(game, "CKS-winecfg");
}

void GameActions::installModPatch(const GamePointer& game) {
    const auto path = pathOf(game);
    if (path && !game->isGameInTheServer) installModPatchAtWrapper(*path, {});
}

void installModPatchAtWrapper(const std::string& wrapper, std::function<void(bool installed)> completion,
                              const ModPatch& mod) {
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
    const auto given = [](const OpenPanel& panel, const std::vector<std::string>& paths) {
        for (const std::string& path : paths) {
            const auto checked = MVAlert::checkChoice(panel, path);
            if (checked) continue;
            MVAlert::showAlertErrorMessage(checked.error().message());
            return std::vector<std::string>();
        }
        return paths;
    };
    const auto chosen = mod.files.empty() ? MVAlert::chooseFiles(source) : given(source, mod.files);
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
    const auto folder =
        mod.destination.empty() ? MVAlert::chooseFiles(destination) : given(destination, {mod.destination});
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

bool copyFiles(const std::vector<std::string>& paths, const std::string& folder) {
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

}  // namespace morvane
