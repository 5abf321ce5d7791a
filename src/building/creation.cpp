// The spine of the pipeline: a port is built in four stages, and a wrapper gets its engine and its prefix.

#include <string_view>

#include "building/engine_store.h"
#include "building/estimated_progress.h"
#include "building/program_check.h"
#include "building/wrapper_creation.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/settings_keys.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/ownership.h"
#include "wrapper/layout.h"

namespace morvane {

namespace {

/// Whether what lies at the temporary path is what a build of this user left there, and no finished port.
bool isLeftover(const std::string& path) {
    return files::kindOf(path) == files::Kind::folder && files::isOwn(path) &&
           files::kindOf(path + "/Contents") == files::Kind::folder &&
           files::kindOf(path + layout::backupCki) == files::Kind::none &&
           files::kindOf(path + layout::descriptionCkii) == files::Kind::none;
}

bool clearTemporaryPath(const std::string& path) {
    if (files::kindOf(path) == files::Kind::none) return true;
    if (!isLeftover(path)) {
        MVAlert::showAlertErrorMessage(localized(
            "The wrapper is prepared at %@, but something else lies there. Move it to a different folder "
            "and then try again.",
            {path}));
        return false;
    }
    return MVFileManager::removeItemAtPath(path);
}

void makeRunnable(const std::string& mode, const std::string& path) {
    MVTask::runProgram("chmod", "/", std::vector<std::string>{mode, path}, Wait::yes);
}

}  // namespace

bool WrapperCreation::buildPortAt(const std::string& wrapper, const NSPortData& port) {
    const std::string engine = port.engine.value_or("");
    const auto goOn = [] {
        host().creation.throwIfRequested();
        return true;
    };
    // Now that the engine is there, and nothing of the wrapper yet.
    const auto installerCanRun = [&] {
        const auto flaw = building::flawOfInstaller(port, wrapper);
        if (flaw) MVAlert::showAlertErrorMessage(*flaw);
        return !flaw;
    };
    return updateCaskery() && goOn() && prepareEngine(engine, port.engineCustomLink) && goOn() &&
           installerCanRun() && createWrapperAt(wrapper, building::engineForWrapper(engine, wrapper)) &&
           goOn() && configureWrapperAt(wrapper, port);
}

bool WrapperCreation::createWrapperAt(const std::string& wrapper, const std::string& engine) {
    setMessage(localized("Creating Wrapper %@...", {currentCaskery.value_or("")}));
    setSubtitle(localized("Please wait. It might take a minute or two."));
    if (!copyingMasterWrapperToPath(wrapper)) return false;
    host().creation.throwIfRequested();
    switch (extractEngine(engine, wrapper)) {
        case ExtractedEngine::failure:
            return false;
        case ExtractedEngine::installed:
            break;
        case ExtractedEngine::alreadyThere:
            // A build that was stopped after this point left an engine without a prefix.
            if (MVFileManager::fileExistsAtPath(wrapper + layout::systemRegistry)) return true;
    }
    host().creation.throwIfRequested();
    if (!MVFileManager::fileExistsAtPath(MVString::pathByAppendingCaskeryFrameworkBinToPortPath(wrapper))) {
        MVAlert::showAlertErrorMessage(
            localized("Wrapper creation failed! The Caskery framework couldn't be found!"));
        return false;
    }
    setMessage(localized("Preparing Wrapper..."));
    setSubtitle(localized("Please wait. If prompted to install Mono or Gecko, cancel it."));
    makeRunnable("777", wrapper + layout::engine);
    if (!createPrefixOf(wrapper)) return false;
    if (MVFileManager::fileExistsAtPath(wrapper + layout::systemRegistry)) return true;

    if (MVAlert::showBooleanAlertMessage(
            localized("The Wine Prefix Creation failed! Probably your Master Wrapper is "
                      "corrupted. Do you want to remove it?"),
            "Error", true)) {
        if (currentCaskery) {
            MVFileManager::removeItemAtPath(files::join(layout::masterFolder(), *currentCaskery + ".app"));
        }
        MVAlert::showAlertMessage(localized("Master Wrapper removed! Please, start the port creation again."),
                                  "Warning");
    }
    return false;
}

bool WrapperCreation::createPrefixOf(const std::string& wrapper) {
    // A wrapper that was there before may hold a game's data, which have no business in a folder that is
    // emptied when the machine starts.
    const auto temporary = ownWrapper_ == wrapper ? temporaryPathFor(wrapper) : std::nullopt;
    if (temporary) {
        if (!clearTemporaryPath(*temporary) || !MVFileManager::moveItemAtPath(wrapper, *temporary))
            return false;
        ownWrapper_ = usedTemporaryPath_ = temporary;
    }
    const std::string tool =
        MVString::pathByAppendingCaskeryFrameworkBinToPortPath(temporary.value_or(wrapper));
    makeRunnable("+x", tool);
    {
        building::EstimatedProgress estimate(progressWindow, settings::prefixCreationTime);
        MVTask::runProgram(tool, "/", std::vector<std::string>{"CKS-wineprefixcreate"}, Wait::yes);
        if (MVFileManager::fileExistsAtPath(temporary.value_or(wrapper) + layout::systemRegistry))
            estimate.finished();
    }
    if (!temporary) return true;
    if (MVFileManager::moveItemAtPath(*temporary, wrapper)) {
        ownWrapper_ = wrapper;
        return true;
    }
    MVAlert::showAlertErrorMessage(localized(
        "The wrapper is at %@ now. Move it to %@ before you create it again.", {*temporary, wrapper}));
    return false;
}

std::optional<std::string> WrapperCreation::temporaryPathFor(const std::string& wrapper) {
    const std::string& folder = host().folders.temporary;
    if (!files::isWritable(folder)) return std::nullopt;
    std::string name = MVString::replacedAll(files::lastComponent(wrapper), "&", "and");
    constexpr std::string_view unwanted = "!#$%^*()+=|\\?><;:@";
    std::erase_if(name, [=](char character) { return unwanted.find(character) != std::string_view::npos; });
    const std::string path = folder + "/" + name;
    // What lies at the temporary path is cleared away: a wrapper in the temporary folder is prepared in its
    // place, and so is one that lies inside a bundle there.
    const std::string real = files::resolved(wrapper).value_or(wrapper);
    const std::string realPath = files::resolved(path).value_or(path);
    if (real == realPath || real.starts_with(realPath + "/")) return std::nullopt;
    return path;
}

}  // namespace morvane
