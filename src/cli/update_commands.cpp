#include "building/build.h"
#include "building/engine_store.h"
#include "building/outdated_wrapper.h"
#include "building/tools.h"
#include "cli/commands.h"
#include "engines/caskery_engine.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "wrapper/wrapper.h"

namespace morvane::cli {

namespace {

/// The work with the support folder for itself; Ctrl-C unwinds it at the next place where nothing is lost.
int alone(Session& session, const std::function<int()>& work) {
    return session.onWorker([&] {
        const building::SoleChange change;
        return change.granted() ? work() : static_cast<int>(failed);
    });
}

}  // namespace

int convertEngine(Session& session, const std::string& name) {
    return alone(session, [&] {
        NSCaskeryEngine engine(name);
        if (!engine.nameAfterConversion()) {
            session.console().print(localized("The engine %@ is of no old generation.", {name}));
            return static_cast<int>(done);
        }
        session.progress()->setMessage(localized("Preparing Engine..."), CreatingPort::no);
        engine.convertOldEngine();
        const auto archive = building::storedEngineArchive(engine.engine);
        if (engine.engine == name)
            return session.fail(archive ? localized("The engine %@ was not converted.", {name})
                                        : localized("The engine %@ is not there.", {name}));
        session.console().print(archive.value_or(engine.engine));
        return static_cast<int>(done);
    });
}

int updateWrapper(Session& session, const std::string& app) {
    session.provideSite();
    return session.onWorker([&] {
        const std::string path = expandedPath(app);
        // The processes of a wrapper know its real path.
        const std::string wrapper = files::resolved(path).value_or(path);
        Build build(session.progress());
        const auto update = building::updateOutdatedWrapper(Wrapper(wrapper), build);
        if (update == building::WrapperUpdate::failed) return static_cast<int>(failed);
        session.console().print(
            update == building::WrapperUpdate::updated
                ? localized("%@ is at the version %@ now.", {wrapper, *build.currentCaskery})
                : localized("%@ is up to date.", {wrapper}));
        return static_cast<int>(done);
    });
}

}  // namespace morvane::cli
