#include "building/creation.h"

// The spine of the pipeline: a port is built in four stages, and a wrapper gets its engine and its prefix.

#include <algorithm>
#include <memory>
#include <string_view>

#include "building/build.h"
#include "building/configuration.h"
#include "building/early_links.h"
#include "building/engine_extraction.h"
#include "building/engine_preparation.h"
#include "building/engine_store.h"
#include "building/estimated_progress.h"
#include "building/finished_prefix.h"
#include "building/master_wrapper.h"
#include "building/new_sandbox.h"
#include "building/program_check.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/private_folder.h"
#include "wrapper/wrapper.h"

namespace morvane {

namespace {

/// What Wine cannot bear in the path of a prefix that it creates, beside "&".
constexpr std::string_view unwanted = "!#$%^*()+=|\\?><;:@";

/// A fresh folder for a new wrapper; nothing where none can be had. The user's own may lie below a name that
/// Wine cannot bear.
std::optional<files::PrivateFolder> folderForPrefix(const std::string& destination) {
    const std::string& own = host().folders.temporary;
    const auto isPlain = [](const std::string& path) {
        return std::ranges::none_of(path, [](unsigned char character) {
            return character < ' ' || character == '"' || character == '&' ||
                   unwanted.find(static_cast<char>(character)) != std::string_view::npos;
        });
    };
    auto folder = !isPlain(own)          ? files::PrivateFolder::makeInShared(host().folders.sharedTemporary)
                  : isPlain(destination) ? files::PrivateFolder::makeFor(destination, own)
                                         : files::PrivateFolder::make(own);
    if (!folder) return std::nullopt;
    return *std::move(folder);
}

void makeRunnable(const std::string& mode, const std::string& path) {
    MVTask::ignoreEnding(MVTask::runProgram("chmod", "/", std::vector<std::string>{mode, path}, Wait::yes));
}

/// When the wrapper can't go back to its place.
void keepOrRemove(Build& build, const std::string& place, const Wrapper& wrapper) {
    if (!MVAlert::showBooleanAlertMessage(
            localized("The wrapper can't be moved to %@. Do you want to keep what has been made of it?",
                      {wrapper.path()}),
            "Error", false)) {
        return;
    }
    const auto kept = build.made.folder->keep();
    if (!kept) return MVAlert::showAlertErrorMessage(kept.error().message());
    build.made.place.reset();
    MVAlert::showAlertErrorMessage(
        localized("The wrapper is at %@ now. Move it to %@ before you create it again.",
                  {files::join(*kept, files::lastComponent(place)), wrapper.path()}));
}

/// The step of `createWrapperAt` that runs the wrapper's own tool, at the temporary path where there is
/// one.
bool createPrefixOf(Build& build, const Wrapper& wrapper) {
    const building::FinishedPrefix finished(wrapper);
    if (finished.copyInto(wrapper)) return true;
    // What a game has left in a wrapper that was there before is nobody else's.
    const bool isFresh = build.made.place == wrapper.path();
    // A wrapper that was there before may hold a game's data, which have no business in a passing folder.
    if (isFresh) build.made.folder = folderForPrefix(files::parent(wrapper.path()));
    const std::string place = build.made.folder
                                  ? files::join(build.made.folder->path(), temporaryNameFor(wrapper.path()))
                                  : wrapper.path();
    if (build.made.folder) {
        if (!MVFileManager::moveItemAtPath(wrapper.path(), place)) {
            build.made.folder.reset();
            return false;
        }
        build.made.place = build.made.passingPath = place;
    }
    const std::string tool = Wrapper(place).tool();
    makeRunnable("+x", tool);
    {
        building::EstimatedProgress estimate(build.progressWindow, settings::prefixCreationTime);
        const auto created =
            MVTask::runProgram(tool, "/", std::vector<std::string>{"CKS-wineprefixcreate"}, Wait::yes);
        const bool isThere = MVFileManager::fileExistsAtPath(Wrapper(place).systemRegistry());
        if (isThere) estimate.finished();
        if (isThere && isFresh && created && created->ending.succeeded()) finished.keep(Wrapper(place));
    }
    if (!build.made.folder) return true;
    const bool isBack = MVFileManager::moveItemAtPath(place, wrapper.path());
    if (isBack) {
        build.made.place = wrapper.path();
    } else {
        keepOrRemove(build, place, wrapper);
    }
    build.made.folder.reset();
    return isBack;
}

/// Engine and master wrapper are what the lock says, and part of the record. One that goes on keeps what it began with.
void noteFoundation(Build& build, const std::string& engine) {
    if (build.record.engine.empty()) build.record.engine = engine;
    if (build.record.master.empty()) build.record.master = build.currentCaskery.value_or("");
    if (build.locked && build.locked->master != build.record.master) {
        throw BuildRefused({localized("The lock is of a wrapper that was made of %@, and %@ is here.",
                                      {build.locked->master, build.record.master})});
    }
    if (const auto archive = building::storedEngineArchive(engine)) build.useFile(*archive, "");
}

}  // namespace

bool buildPortAt(Build& build, const Wrapper& wrapper, const NSPortData& port) {
    const std::string engine = port.engine.value_or("");
    const auto goOn = [] {
        host().creation.throwIfRequested();
        return true;
    };
    // Now that the engine is there, and nothing of the wrapper yet.
    const auto installerCanRun = [&] {
        const auto installer = building::checkInstaller(port, wrapper.path());
        if (!installer) MVAlert::showAlertErrorMessage(installer.error().message());
        return installer.has_value();
    };
    if (!updateCaskery(build) || !goOn() || !prepareEngine(build, engine, port.engineCustomLink) || !goOn() ||
        !installerCanRun())
        return false;
    noteFoundation(build, engine);
    auto links = building::earlyLinksOf(port);
    // What a build that goes on has used already.
    std::erase_if(links, [&build](const std::string& link) {
        return std::ranges::find(build.record.files, link, &UsedFile::link) != build.record.files.end();
    });
    const auto early = build.fetchEarly(links);
    if (!createWrapperAt(build, wrapper, building::engineForWrapper(engine, wrapper)) || !goOn())
        return false;
    // Before any program of the port runs in it; also into one that a build left before it came to this.
    if (!giveNewSandbox(wrapper)) return false;
    build.journal = std::make_unique<BuildJournal>(wrapper, build.record);
    configureWrapperAt(build, wrapper, port);
    build.journal->finish();
    early->forget();
    return true;
}

bool createWrapperAt(Build& build, const Wrapper& wrapper, const std::string& engine) {
    build.setMessage(localized("Creating Wrapper %@...", {build.currentCaskery.value_or("")}));
    build.setSubtitle(localized("Please wait. It might take a minute or two."));
    if (!copyingMasterWrapperToPath(build, wrapper)) return false;
    // From here on there is something that is not finished.
    if (build.made.place == wrapper.path()) static_cast<void>(build.record.writeTo(wrapper));
    host().creation.throwIfRequested();
    switch (extractEngine(build, engine, wrapper)) {
        case ExtractedEngine::failure:
            return false;
        case ExtractedEngine::installed:
            break;
        case ExtractedEngine::alreadyThere:
            // A build that was stopped after this point left an engine without a prefix.
            if (MVFileManager::fileExistsAtPath(wrapper.systemRegistry())) return true;
    }
    host().creation.throwIfRequested();
    if (!MVFileManager::fileExistsAtPath(wrapper.tool())) {
        MVAlert::showAlertErrorMessage(
            localized("Wrapper creation failed! The Caskery framework couldn't be found!"));
        return false;
    }
    build.setMessage(localized("Preparing Wrapper..."));
    build.setSubtitle(localized("Please wait. If prompted to install Mono or Gecko, cancel it."));
    makeRunnable("777", wrapper.engine());
    if (!createPrefixOf(build, wrapper)) return false;
    if (MVFileManager::fileExistsAtPath(wrapper.systemRegistry())) return true;

    if (MVAlert::showBooleanAlertMessage(
            localized("The Wine Prefix Creation failed! Probably your Master Wrapper is "
                      "corrupted. Do you want to remove it?"),
            "Error", true)) {
        if (build.currentCaskery) {
            MVFileManager::removeItemAtPath(
                files::join(layout::masterFolder(), *build.currentCaskery + ".app"));
        }
        MVAlert::showAlertMessage(localized("Master Wrapper removed! Please, start the port creation again."),
                                  "Warning");
    }
    return false;
}

std::string temporaryNameFor(const std::string& wrapper) {
    std::string name = MVString::replacedAll(files::lastComponent(wrapper), "&", "and");
    std::erase_if(name, [](char character) { return unwanted.find(character) != std::string_view::npos; });
    return name;
}

}  // namespace morvane
