// The front door of port building: requests, checks, one creation at a time, its end and its cancellation.

#include <algorithm>
#include <string_view>

#include "building/agreement.h"
#include "building/archives.h"
#include "building/build_plan.h"
#include "building/creation.h"
#include "building/foreseen_questions.h"
#include "building/port_checks.h"
#include "building/program_check.h"
#include "building/replaced_item.h"
#include "building/tools.h"
#include "building/wrapper_creation.h"
#include "engines/caskery_engine.h"
#include "foundation/alerts.h"
#include "foundation/build_log.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "platform/files.h"
#include "platform/host.h"
#include "ports/recipe_signature.h"
#include "ports/typed_stream.h"
#include "wrapper/layout.h"
#include "wrapper/processes.h"
#include "wrapper/saved_games.h"
#include "wrapper/wrapper.h"

namespace morvane {

namespace {

std::optional<std::string> askWhereToSave(const std::string& proposedName, Form* accessory) {
    SavePanel panel = building::placePanel(proposedName);
    panel.accessory = accessory;
    return MVAlert::chooseSavePath(panel);
}

/// Empty for a file that is no port, which is told when it is to be installed.
std::string signerOf(const std::string& file) {
    const auto port = NSUtilities::loadArchivedObjectFromFile(file, "CKI");
    const auto* description = port ? port->as<Dictionary>() : nullptr;
    if (description == nullptr) return "";
    return recipe_signature::sentenceOf(recipe_signature::signatureOf(*description));
}

bool userTrustsForeignPort(const std::string& file) {
    constexpr std::size_t install = 1;
    return MVAlert::showDialog(building::foreignPortDialog(signerOf(file))).button == install;
}

/// The blank-port panel. The fields keep their places; the choices are read from them by these.
enum BlankPortField : std::size_t { engineField, driverField, steamField, originField, uplayField };

FormField checkBox(const char* label) {
    return {.kind = FormField::Kind::checkBox, .label = label, .options = {}, .chosen = 0, .changed = {}};
}

Form blankPortPanel() {
    FormField engine{.kind = FormField::Kind::choice,
                     .label = localized("Engine"),
                     .options = NSCaskeryEngine::getListOfAvailableEngines(),
                     .chosen = 0,
                     .changed = {}};
    FormField driver{.kind = FormField::Kind::choice,
                     .label = localized("Graphics driver"),
                     .options = {localized("X11"), localized("Mac driver")},
                     .chosen = 0,
                     .changed = {}};
    FormField origin = checkBox("Origin");
    origin.changed = [](std::size_t ticked) {
        if (ticked == 0) return;
        MVAlert::showAlertMessage(
            localized(
                "In order to work, Origin needs two patches in the engine that you are going to use. Only "
                "install it in an engine with these patches."),
            "Warning");
    };
    return {.fields = {std::move(engine), std::move(driver), checkBox("Steam"), std::move(origin),
                       checkBox("Uplay")}};
}

NSCustomPortView choicesOf(const Form& panel) {
    NSCustomPortView view;
    const FormField& engine = panel.fields[engineField];
    if (engine.chosen < engine.options.size()) view.engine = engine.options[engine.chosen];
    if (panel.fields[driverField].chosen == 1) view.macDriver = MacDriver::yes;
    if (panel.fields[steamField].chosen != 0) view.DRMs |= drm::steam;
    if (panel.fields[originField].chosen != 0) view.DRMs |= drm::origin;
    if (panel.fields[uplayField].chosen != 0) view.DRMs |= drm::uplay;
    return view;
}

std::optional<BlankPort> askForBlankPort() {
    Form panel = blankPortPanel();
    const auto wrapper = askWhereToSave("", &panel);
    if (!wrapper) return std::nullopt;
    return BlankPort{.place = *wrapper, .view = choicesOf(panel)};
}

}  // namespace

void WrapperCreation::createPortFromCKIFile(const std::string& file, CompletionHandler handler,
                                            const std::optional<std::string>& place) {
    const std::string name = files::withoutExtension(files::lastComponent(file));
    // A port that cannot be read asks nothing; why is told when it is to be installed.
    const bool goesOn = MVAlert::canBeAnswered([&]() -> std::vector<ForeseenQuestion> {
        const auto port = NSPortData::initWithCkiAtPath(file);
        if (!checkPort(port)) return {};
        if (place) return questionsOfBuild(*this, *port, *place, Place::chosen);
        return questionsOfBuild(*this, *port, files::join(folderForNewPorts(), name + ".app"),
                                Place::proposed);
    });
    if (!goesOn || !doYouAgreeWithTheLicenseAgreement() || !userTrustsForeignPort(file)) return;
    const auto wrapper = place ? place : askWhereToSave(name, nullptr);
    if (!wrapper) return;
    MVThread::dispatchQueueWithName("app.morvane.wrapperCreationInstallCki", Priority::normal,
                                    [this, file, wrapper = *wrapper, handler = std::move(handler)] {
                                        const bool failed = installCKI(file, wrapper, Trust::no) != 0;
                                        if (handler) handler(failed, wrapper);
                                    });
}

int WrapperCreation::installCKI(const std::string& file, const std::string& wrapper, Trust trust,
                                Replacing replacing) {
    const auto portData = [&]() -> std::optional<NSPortData> {
        auto port = NSPortData::initWithCkiAtPath(file);
        if (!canAnswerFor(port, wrapper, trust) || !shouldInstallPortData(port, trust)) return std::nullopt;
        return *std::move(port);
    };
    const auto backUp = [&] {
        const std::string backup = Wrapper(wrapper).backup();
        if (!MVFileManager::fileExistsAtPath(backup)) MVFileManager::copyItemAtPath(file, backup);
    };
    return runCreation(wrapper, portData, backUp, replacing);
}

bool WrapperCreation::canAnswerFor(const std::optional<Result<NSPortData>>& port, const std::string& wrapper,
                                   Trust trust) {
    // A file that the user has opened was looked at before its first question.
    if (trust == Trust::no || !checkPort(port)) return true;
    return MVAlert::canBeAnswered([&] { return questionsOfTrustedBuild(*this, **port, wrapper); }) ||
           errorWithMessage(std::nullopt);
}

int WrapperCreation::runCreation(const std::string& wrapper,
                                 const std::function<std::optional<NSPortData>()>& portData,
                                 const std::function<void()>& finish, Replacing replacing) {
    if (!host().creation.begin()) {
        building::tellOfNoLock();
        return -1;
    }
    // Held to the end of the clean-up, when the token is free already.
    const auto lock = building::lockSupportFolder();
    if (!lock) {
        host().creation.end();
        building::tellOfNoLock();
        return -1;
    }
    made.place.reset();
    made.passingPath.reset();
    journal.reset();
    auto ending = BuildLog::Ending::failed;
    // With the last entry when everything that is told has been.
    const auto endOfLog = [&ending](BuildLog* log) { log->ended(ending); };
    const auto log = BuildLog::begin(wrapper);
    const std::unique_ptr<BuildLog, decltype(endOfLog)> ended(log.get(), endOfLog);
    // Put back before the lock is free.
    building::ReplacedItem replaced(wrapper);
    try {
        const auto port = portData();
        if (!port) return -1;
        if (locked && locked->port != port->recipe) {
            errorWithMessage(localized("The lock is of another port."));
            return -1;
        }
        if (const auto place = checkPlace(wrapper); !place) {
            errorWithMessage(place.error().message());
            return -1;
        }
        const auto kept = whatIsKept(Wrapper(wrapper), *port, replacing);
        // Whether it is replaced or built over: neither spares what the programs have saved.
        if (!saved_games::offerBackup(Wrapper(wrapper)) || (kept == Kept::nothing && !replaced.stepAside())) {
            errorWithMessage(std::nullopt);
            return -1;
        }
        const bool existedBefore =
            kept == Kept::progress ? record.isBuiltOver : files::kindOf(wrapper) != files::Kind::none;
        if (kept != Kept::progress) record.isBuiltOver = existedBefore;
        progressWindow->setIsCreatingWrapper(true);
        setMessage(localized("Checking Caskery..."));
        progressWindow->showCreatingPort(CreatingPort::yes);
        const bool built = buildPortAt(*this, Wrapper(wrapper), *port);
        host().creation.throwIfRequested();
        if (built && !existedBefore) finish();
        if (built) replaced.discard();
        if (built) forgetParts();
        if (built) ending = BuildLog::Ending::built;
        errorWithMessage(std::nullopt);
        return built ? 0 : -1;
    } catch (const BuildRefused& refused) {
        made.folder.reset();
        errorWithMessage(refused.failure.message());
        return -1;
    } catch (const Cancelled&) {
        ending = BuildLog::Ending::cancelled;
        // First: the report and the clean-up are not to be cancelled as well.
        host().creation.end();
        errorWithMessage(cancellationReport());
        stopAndRemove(wrapper);
        made.folder.reset();
        return -1;
    } catch (...) {
        made.folder.reset();
        errorWithMessage(std::nullopt);
        throw;
    }
}

WrapperCreation::Kept WrapperCreation::whatIsKept(const Wrapper& wrapper, const NSPortData& port,
                                                  Replacing replacing) {
    const Kept otherwise = replacing == Replacing::yes ? Kept::nothing : Kept::wrapper;
    const auto there = BuildRecord::of(wrapper);
    record = BuildRecord{.port = port.recipe};
    if (there && there->isFinished && otherwise == Kept::wrapper) {
        // An add-on: what the wrapper was made of before belongs to it.
        record.components = there->components;
        record.files = there->files;
    }
    if (!there || there->isFinished || there->port != port.recipe || port.recipe.empty()) return otherwise;
    if (MVAlert::isAnsweredYes(building::unfinishedDialog(wrapper.name()))) {
        record = *there;
        return Kept::progress;
    }
    return there->isBuiltOver ? otherwise : Kept::nothing;
}

void WrapperCreation::stopAndRemove(const std::string& wrapper) const {
    const auto stop = [this](const std::string& place) {
        NSUtilities::terminateAllCaskeryProcessesForWrapperNow(
            place, place == made.place ? RemovingWrapper::yes : RemovingWrapper::no);
    };
    // The programs keep the path under which they were started, also after the move back.
    if (made.passingPath) stop(*made.passingPath);
    // A creation takes minutes: what lies in the wrapper's place may have been put there meanwhile.
    const bool isElsewhere = made.passingPath && made.place == made.passingPath;
    if (!isElsewhere && files::kindOf(wrapper) != files::Kind::none) stop(wrapper);
}

bool WrapperCreation::shouldInstallPortData(const std::optional<Result<NSPortData>>& port, Trust trust) {
    if (const auto checked = checkPort(port); !checked) return errorWithMessage(checked.error().message());
    const NSPortData& data = **port;
    if (trust == Trust::yes && !data.isSigned() && !MVAlert::isAnsweredYes(building::unsignedPortDialog())) {
        return errorWithMessage(localized("The Port creation was canceled!"));
    }
    // Before the user is asked to get anything ready for a build that cannot come to its end.
    if (const auto installer = building::checkInstaller(data, ""); !installer) {
        return errorWithMessage(installer.error().message());
    }
    const std::string requirements = requirementsListForPortData(data);
    if (!requirements.empty() && !MVAlert::isAnsweredYes(building::requirementsDialog(requirements))) {
        return errorWithMessage(localized("Get all the items from the list before installing that port!"));
    }
    return true;
}

void WrapperCreation::createBlankPortWithCompletionHandler(CompletionHandler handler,
                                                           const std::optional<BlankPort>& blank) {
    const bool goesOn = !blank || MVAlert::canBeAnswered([&]() -> std::vector<ForeseenQuestion> {
        const auto port = portOfBlank(blank->place, blank->view);
        if (!port) return {};
        return questionsOfBlank(*this, *port, blank->place);
    });
    if (!goesOn || !doYouAgreeWithTheLicenseAgreement()) return;
    const auto chosen = blank ? blank : askForBlankPort();
    if (!chosen) return;
    MVThread::dispatchQueueWithName("app.morvane.wrapperCreationInstallBlankWrapper", Priority::normal,
                                    [this, blank = *chosen, handler = std::move(handler)] {
                                        const bool failed =
                                            createBlankWrapperAtPath(blank.place, blank.view) != 0;
                                        if (handler) handler(failed, blank.place);
                                    });
}

int WrapperCreation::createBlankWrapperAtPath(const std::string& wrapper, const NSCustomPortView& view) {
    const auto portData = [&] {
        auto port = portOfBlank(wrapper, view);
        if (!port) {
            errorWithMessage(
                localized("An unknown error while creating that custom port! The custom port creation is "
                          "going to be aborted."));
        }
        return port;
    };
    return runCreation(
        wrapper, portData, [] {}, Replacing::no);
}

bool WrapperCreation::cancelWrapperCreation() {
    if (!MVAlert::showBooleanAlertMessage(localized("Cancelling will stop the wrapper creation and remove "
                                                    "what was created until now. Are you sure "
                                                    "that you want to terminate the wrapper creation?"),
                                          "Warning", false)) {
        return false;
    }
    requestCancellation();
    return true;
}

void WrapperCreation::requestCancellation() {
    // The request comes first: a download that is ended without one asks the user what to do about it.
    host().creation.request();
    if (isDownloading()) finishDownload();
}

std::string WrapperCreation::cancellationReport() {
    return localized(
        "%@: %@", {localized(Cancelled().what()), localized("User requested wrapper creation termination")});
}

bool WrapperCreation::errorWithMessage(const std::optional<std::string>& message) {
    progressWindow->setIsCreatingWrapper(false);
    progressWindow->closeCreatingPort(CreatingPort::yes);
    if (message) MVAlert::showAlertErrorMessage(*message);
    host().creation.end();
    return false;
}

}  // namespace morvane
