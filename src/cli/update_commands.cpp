#include "building/engine_store.h"
#include "building/outdated_wrapper.h"
#include "building/tools.h"
#include "cli/commands.h"
#include "engines/caskery_engine.h"
#include "engines/wrapper_updater.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/layout.h"

namespace morvane::cli {

namespace {

/// The work with the support folder for itself; Ctrl-C unwinds it at the next place where nothing is lost.
int alone(Session& session, const std::function<int()>& work) {
    return session.onWorker([&] {
        const auto lock = building::lockSupportFolder();
        if (!lock) {
            building::tellOfNoLock();
            return static_cast<int>(failed);
        }
        if (!host().creation.begin()) return static_cast<int>(failed);
        const struct Ending {
            ~Ending() { host().creation.end(); }
        } ending;
        return work();
    });
}

/// Whether it is a wrapper, be it one that an update has left in pieces.
bool isWrapper(const std::string& path) {
    return MVFileManager::directoryExistsAtPath(path) &&
           (WrapperUpdater::versionBeforeUnfinishedUpdate(path) ||
            MVFileManager::regularFileExistsAtPath(
                MVString::pathByAppendingCaskeryFrameworkBinToPortPath(path)) ||
            MVFileManager::regularFileExistsAtPath(
                MVString::pathByAppendingCaskeryLauncherBinToPortPath(path)));
}

int updateTo(Session& session, const std::string& wrapper, const std::string& version) {
    const auto& progress = session.progress();
    progress->setMessage(localized("Updating old Caskery wrapper..."), CreatingPort::no);
    progress->showCreatingPort(CreatingPort::no);
    progress->setSubtitle(localized("Please wait..."), CreatingPort::no);
    WrapperUpdater::updateOldCaskeryWrapperAtPath(
        wrapper, version, [&](const std::string& step) { progress->setSubtitle(step, CreatingPort::no); });
    progress->closeCreatingPort(CreatingPort::no);
    const auto outdated = building::outdatedWrapper(wrapper);
    if ((outdated && outdated->version != version) || WrapperUpdater::needsRepair(wrapper))
        return session.fail("The update of " + wrapper + " is not complete. Update it again.");
    session.console().print(wrapper + " is at the version " + version + " now.");
    return done;
}

int updateThere(Session& session, const std::string& path) {
    if (building::isWrapperInUse(path)) {
        // An update that was killed may have left it away from its place.
        const bool isThere = MVFileManager::directoryExistsAtPath(path);
        return session.fail("Programs of " + path + " are running. Wait for their end, or end them with: " +
                            "morvane stop '" + (isThere ? path : WrapperUpdater::passingName(path)) + "'");
    }
    const auto found = WrapperUpdater::backInItsPlace(path);
    if (const Failure* failure = failureOf(found)) return session.fail(failure->message);
    const auto& wrapper = std::get<std::string>(found);
    if (!isWrapper(wrapper)) return session.fail(wrapper + " is not a wrapper.");

    WrapperCreation creation(session.progress());
    if (!creation.newestCaskery && !creation.currentCaskery)
        return session.fail("No master wrapper is known: the download site can't be reached.");
    if (!building::outdatedWrapper(wrapper) && !WrapperUpdater::needsRepair(wrapper)) {
        session.console().print(wrapper + " is up to date.");
        return done;
    }
    if (!creation.updateCaskery() || !creation.currentCaskery) return failed;
    return updateTo(session, wrapper, *creation.currentCaskery);
}

}  // namespace

int convertEngine(Session& session, const std::string& name) {
    return alone(session, [&] {
        NSCaskeryEngine engine(name);
        if (!engine.nameAfterConversion()) {
            session.console().print("The engine " + name + " is of no old generation.");
            return static_cast<int>(done);
        }
        session.progress()->setMessage(localized("Preparing Engine..."), CreatingPort::no);
        engine.convertOldEngine();
        const auto archive = building::storedEngineArchive(engine.engine);
        if (engine.engine == name)
            return session.fail("The engine " + name + (archive ? " was not converted." : " is not there."));
        session.console().print(archive.value_or(engine.engine));
        return static_cast<int>(done);
    });
}

int updateWrapper(Session& session, const std::string& app) {
    session.provideSite();
    // The processes of a wrapper know its real path.
    const std::string path = expandedPath(app);
    return alone(session, [&] { return updateThere(session, files::resolved(path).value_or(path)); });
}

}  // namespace morvane::cli
