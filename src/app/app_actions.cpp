#include "app/app_actions.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "building/cancellable_creation.h"
#include "building/wrapper_creation.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/apps_questions.h"
#include "library/catalogue_addresses.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/utf8.h"
#include "wrapper/processes.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

/// No search and no identifier is longer, and no server reads longer addresses.
constexpr std::size_t longestLink = 4096;

/// The outermost bundle around the program that can run it.
std::optional<std::string> wrapperAround(const std::string& program) {
    const auto parts = MVString::split(program, ".app");
    std::string bundle;
    for (std::size_t part = 0; part + 1 < parts.size(); ++part) {
        bundle += parts[part] + ".app";
        if (Wrapper(bundle).runsPrograms()) return bundle;
    }
    return std::nullopt;
}

void runExe(const char* label, const std::string& wrapper, const std::string& program) {
    MVThread::dispatchQueueWithName(label, Priority::normal, [wrapper, program] {
        MVTask::ignoreEnding(MVTask::runProgram(Wrapper(wrapper).tool(), std::nullopt,
                                                MVTask::Arguments({program}), Wait::no));
    });
}

/// Answers should be ASCII; names in them often are not.
std::string textOf(const std::string& bytes) {
    if (MVString::isValidUtf8(bytes)) return bytes;
    std::string text;
    for (const char byte : bytes) utf8::append(text, static_cast<unsigned char>(byte));
    return text;
}

}  // namespace

AppActions::AppActions(Surroundings surroundings)
    : in_(std::move(surroundings)), self_(std::make_shared<AppActions*>(this)) {}

AppActions::~AppActions() {
    *self_ = nullptr;
}

void AppActions::onActions(const Handle& self, std::function<void(AppActions&)> work) {
    MVThread::dispatchBlockInMainQueue([self, work = std::move(work)] {
        if (*self != nullptr) work(**self);
    });
}

// ---- Files

bool AppActions::openFile(const std::string& path) {
    // Other systems' habit: of the three, only the Windows program may be written in any case.
    if (path.ends_with(".cki")) return shouldRunCkiFile(path);
    if (MVString::lowercased(path).ends_with(".exe")) return shouldRunExeFile(path);
    if (path.ends_with(".app")) return shouldRunGameAtPath(path);
    return false;
}

bool AppActions::shouldRunCkiFile(const std::string& path) {
    installCkiFile({.path = path});
    return true;
}

bool AppActions::shouldRunExeFile(const std::string& path) {
    if (const auto wrapper = wrapperAround(path)) {
        runExe("app.morvane.appDelegateRunExeFile", *wrapper, path);
        return true;
    }
    constexpr double width = 350, height = 24;
    const auto wrappers = in_.apps.caskeryWrappersInLocalTab();
    ChoiceBox box{.options = {}, .chosen = 0, .width = width, .height = height};
    for (const LocalItem& wrapper : wrappers) box.options.push_back(wrapper.name);
    Dialog dialog;
    dialog.title = localized("Running EXE");
    dialog.text = localized("Inside which port do you want to run %@?", {files::lastComponent(path)});
    dialog.buttons = {localized("OK"), localized("Cancel")};
    dialog.accessory = box;
    const DialogAnswer answer = MVAlert::showDialog(dialog);
    if (answer.button != 0 || answer.chosen >= box.options.size()) return false;
    const auto chosen = std::ranges::find(wrappers, box.options[answer.chosen], &LocalItem::name);
    if (!Wrapper(chosen->path).runsPrograms()) return false;
    runExe("app.morvane.appDelegateRunExeFileAtPort", chosen->path, path);
    return true;
}

bool AppActions::shouldRunGameAtPath(const std::string& path) {
    if (!MVFileManager::fileExistsAtPath(path)) return false;
    in_.gamePage.actions().updateAndRunWrapper(path);
    return true;
}

// ---- Ports

void AppActions::withCreation(const char* label,
                              const std::function<void(const std::shared_ptr<WrapperCreation>&)>& work) {
    MVThread::dispatchQueueWithName(label, Priority::normal, [work, progress = in_.progress] {
        work(building::cancellableCreation(progress));
    });
}

void AppActions::joinLibrary(const Handle& self, const std::string& wrapper) {
    onActions(self, [wrapper](AppActions& actions) {
        actions.in_.library.addPort(wrapper);
        actions.in_.view.portInstalled(wrapper);
    });
}

void AppActions::installCkiFile(const PortFile& port) {
    withCreation("app.morvane.installCkiFile", [self = self_, port](const auto& creation) {
        installPortFile(creation, port, [self](const std::optional<std::string>& made) {
            if (made) joinLibrary(self, *made);
        });
    });
}

void AppActions::createWrapper() {
    OpenPanel panel;
    panel.title = localized("Select the CKI file");
    panel.types = {"cki"};
    const auto chosen = MVAlert::chooseFiles(panel);
    if (!chosen.empty()) shouldRunCkiFile(chosen.front());
}

void AppActions::createBlankWrapper(const std::optional<BlankPort>& blank) {
    withCreation("app.morvane.createBlankWrapper", [self = self_, blank](const auto& creation) {
        creation->createBlankPortWithCompletionHandler(
            [self, creation](bool failed, const std::string& wrapper) {
                if (!failed) joinLibrary(self, wrapper);
            },
            blank);
    });
}

// ---- The Dock

std::vector<std::string> AppActions::applicationDockMenu() const {
    std::vector<std::string> titles;
    for (const LocalItem& item : in_.apps.localAppsArray()) titles.push_back(item.name);
    return titles;
}

bool AppActions::launchLocalGameAction(std::size_t tag) {
    const auto& items = in_.apps.localAppsArray();
    if (tag >= items.size()) return false;
    // A copy: while something is asked about the item, the list may change.
    const std::string path = items[tag].path;
    return shouldRunGameAtPath(path);
}

// ---- Links

void AppActions::handleURLEvent(const std::string& link) {
    const auto pieces = MVString::split(link, "://");
    if (pieces.size() < 2) return;
    if (link.size() > longestLink) return MVAlert::showAlertErrorMessage(localized("Port not found!"));
    const auto parts = MVString::split(pieces[1], "/");
    const std::string country = parts.size() > 1 ? parts[1] : "";
    showDescriptionOfTheFirstGameListedInThatPage(pieces[0] == "mvid"
                                                      ? catalogue::briefDescriptionAddress(parts[0])
                                                      : catalogue::searchAddress(parts[0], country));
}

bool AppActions::shouldWebViewFollow(const std::string& link) {
    if (link.starts_with("mvid://") || link.starts_with("morvane://")) {
        handleURLEvent(link);
        return false;
    }
    if (link.starts_with("com-codeweavers-crossover-crosstie:")) {
        host().userInterface.openLink(link);
        return false;
    }
    return true;
}

void AppActions::showDescriptionOfTheFirstGameListedInThatPage(const std::string& address) {
    in_.progress->setMessage(localized("Loading app description..."), CreatingPort::no);
    in_.progress->showCreatingPort(CreatingPort::no);
    MVThread::dispatchQueueWithName(
        "app.morvane.openCatalogueLink", Priority::normal, [self = self_, address, progress = in_.progress] {
            const auto finishWith = [&](const char* error) {
                progress->closeCreatingPort(CreatingPort::no);
                MVAlert::showAlertErrorMessage(localized(error));
            };
            const std::string answer = textOf(catalogue::answerOf(address).value_or(""));
            const std::string first = answer.substr(0, answer.find("<br>"));
            if (!MVString::contains(first, " || ")) return finishWith("Port not found!");
            const auto line = generateDictionaryForPortListLine(first);
            if (!line) {
                return finishWith("Error while loading server app information! Please, try again.");
            }
            const auto entry = NSGameData::initWithDictionary(line);
            onActions(self, [entry](AppActions& actions) {
                const Surroundings& in = actions.in_;
                in.gamePage.setGameData(entry, [&in, entry] {
                    in.progress->closeCreatingPort(CreatingPort::no);
                    if (in.gamePage.layout() == LibraryLayout::grid) in.view.showGamePage();
                    in.showLibrary();
                    in.gamePage.installation().installGame(entry);
                });
            });
        });
}

// ---- Stopping and removing

void AppActions::stopItem(const std::string& path, Asking asking) {
    if (asking == Asking::yes) return in_.gamePage.actions().forceCloseGame(NSGameData::initWithPath(path));
    NSUtilities::terminateAllCaskeryProcessesForWrapper(LibraryItem(path).wrapper().path(),
                                                        RemovingWrapper::no);
}

void AppActions::removeItem(const std::string& path, RemovedFrom from,
                            std::function<void(const Removal&)> completion) {
    apps_questions::removeFrom(
        from, path, [self = self_, path, completion = std::move(completion)](const Removal& removal) {
            if (*self == nullptr) return;
            (*self)->in_.library.forget(path);
            completion(removal);
        });
}

}  // namespace morvane
