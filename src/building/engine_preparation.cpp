#include "building/engine_preparation.h"

#include "building/build.h"
#include "building/engine_archives.h"
#include "building/engine_store.h"
#include "building/foreseen_questions.h"
#include "building/tools.h"
#include "engines/caskery_engine.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "wrapper/archive_tools.h"
#include "wrapper/layout.h"

namespace morvane {

namespace {

/// Where an archive that came from a link goes: a link need not tell what it leads to.
std::string withItsKind(const std::string& destination, const std::string& engine,
                        const std::string& arrived) {
    const bool isTold = engine_archives::isArchiveKind(files::extension(destination)) &&
                        files::extension(destination) != "gz";
    const std::string kind = isTold ? "" : engine_archives::kindByFirstBytes(arrived);
    if (kind.empty() || kind == files::extension(destination)) return destination;
    return files::join(files::parent(destination), engine + "." + kind);
}

void reportUnavailableEngine() {
    MVAlert::showAlertErrorMessage(localized("Port creation will fail! The engine isn't available!"));
}

enum class Arrived { calledOff, failed, stored };

/// Downloads an archive, and puts it into the store when it is whole; without one the user is told how that
/// ends.
Arrived download(Build& build, const std::string& link, std::string destination, const std::string& engine,
                 const std::string& query = "") {
    const archives::UnpackingFolder arriving(".arriving");
    if (arriving.path.empty()) return Arrived::calledOff;
    const std::string arrived = files::join(arriving.path, files::lastComponent(destination));
    // What is used of it is the archive in the store, wherever that came from.
    build.setMessage(localized("Downloading %@...", {localized("engine %@", {engine})}));
    if (!build.downloadFile(link, arrived, Silence::no, query)) return Arrived::calledOff;
    if (!MVFileManager::regularFileExistsAtPath(arrived)) {
        reportUnavailableEngine();
        return Arrived::failed;
    }
    destination = withItsKind(destination, engine, arrived);
    if (!archives::isWhole(arrived)) {
        const auto aside = building::putAside(arrived, destination);
        MVAlert::showAlertErrorMessage(localized(
            "What was downloaded as the engine %@ is damaged, or no archive at all (%@). Check your connection "
            "and prepare the engine again, or put a whole archive at %@.",
            {engine, aside.value_or(link), destination}));
        return Arrived::failed;
    }
    // Something of that name, but of no kind in which the engine is looked for.
    if (files::kindOf(destination) != files::Kind::none && !building::putAside(destination, destination))
        return Arrived::failed;
    return MVFileManager::moveItemAtPath(arrived, destination) ? Arrived::stored : Arrived::failed;
}

Arrived downloadOfficial(Build& build, const std::string& engine) {
    // The catalogue comes from outside as well, and the name becomes that of a file.
    if (!building::isOfficialEngine(engine) || !building::placeInStore(engine)) return Arrived::calledOff;
    return download(build, building::officialLinkOf(engine), localPathForOfficialEngine(engine), engine,
                    building::cacheBuster());
}

/// Copies the file that the user picks into the store. False when it is no archive, which the user is told;
/// picking none is no failure.
bool takeUsersArchive(const std::string& engine) {
    const std::vector<std::string> chosen = MVAlert::chooseFiles(building::engineFilePanel(engine));
    if (chosen.empty()) return true;
    const auto destination = building::placeInStore(engine + "." + files::extension(chosen.front()));
    if (!destination) return true;
    const std::string archive = files::resolved(chosen.front()).value_or(chosen.front());
    if (!archives::isWhole(archive)) {
        MVAlert::showAlertErrorMessage(localized(
            "%@ is damaged, or no archive at all: it can't be used as the engine %@.", {archive, engine}));
        return false;
    }
    // Half an archive in the store would be taken for the engine from then on.
    static_cast<void>(archives::copyWhole(archive, *destination));
    return true;
}

/// What the user answered to the search for an engine: a link, a file that is in the store now, or nothing at
/// all.
struct EngineAnswer {
    enum class Kind { link, file, givenUp } kind;
    std::string link = {};
};

EngineAnswer askForFile(const std::string& engine, building::SiteIs site) {
    if (MVAlert::isAnsweredYes(building::engineFileDialog(engine, site))) {
        return {takeUsersArchive(engine) ? EngineAnswer::Kind::file : EngineAnswer::Kind::givenUp};
    }
    reportUnavailableEngine();
    return {EngineAnswer::Kind::givenUp};
}

EngineAnswer askForEngine(const std::string& engine) {
    for (;;) {
        if (!building::siteIsReachable()) return askForFile(engine, building::SiteIs::offline);
        if (!MVAlert::isAnsweredYes(building::engineLinkDialog(engine))) {
            return askForFile(engine, building::SiteIs::reachable);
        }
        const auto link =
            MVAlert::inputDialogWithMessage(localized("Paste here the engine download link"), "");
        if (link && (link->starts_with("http") || link->starts_with("ftp"))) {
            return {EngineAnswer::Kind::link, *link};
        }
    }
}

}  // namespace

bool prepareEngine(Build& build, const std::string& engine, std::optional<std::string> customLink) {
    build.setMessage(localized("Preparing Engine..."));
    if (!building::placeInStore(engine)) return false;
    if (!MVFileManager::directoryExistsAtPath(layout::enginesFolder()) &&
        !MVFileManager::createDirectoryAtPath(layout::enginesFolder(), IntermediateFolders::yes)) {
        return false;
    }
    // Without 7-Zip every archive would pass for a damaged one.
    if (!archives::archiveToolWorks("7z") || !building::leaveWholeArchivesFor(engine)) return false;
    for (const building::EngineSource& source : building::engineSources(engine, customLink)) {
        using Kind = building::EngineSource::Kind;
        if (source.kind != Kind::stored && source.kind != Kind::official) continue;
        if (source.kind == Kind::official) {
            const Arrived arrived = downloadOfficial(build, source.engine);
            if (arrived == Arrived::failed) return false;
            if (arrived == Arrived::calledOff) continue;
        }
        NSCaskeryEngine(source.engine).convertOldEngine();
        return true;
    }
    if (!customLink) {
        const EngineAnswer answer = askForEngine(engine);
        if (answer.kind != EngineAnswer::Kind::link) return answer.kind == EngineAnswer::Kind::file;
        customLink = answer.link;
    }
    if (customLink->empty()) return true;
    const auto destination =
        building::placeInStore(engine + "." + engine_archives::extensionOfLink(*customLink));
    if (!destination) return false;
    const Arrived arrived = download(build, *customLink, *destination, engine);
    if (arrived == Arrived::calledOff) reportUnavailableEngine();
    return arrived == Arrived::stored;
}

bool downloadOfficialEngine(Build& build, const std::string& engine) {
    return downloadOfficial(build, engine) == Arrived::stored;
}

bool getLocalCustomEngine(const std::string& engine) {
    static_cast<void>(takeUsersArchive(engine));
    return true;
}

}  // namespace morvane
