#include "building/build.h"
#include "building/engine_store.h"
#include "building/tools.h"
#include "cli/commands.h"
#include "engines/caskery_engine.h"
#include "foundation/localization.h"
#include "library/game_actions.h"
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
    return session.onWorker([&] {
        const std::string path = expandedPath(app);
        // The processes of a wrapper know its real path.
        const std::string wrapper = files::resolved(path).value_or(path);
        Build build(session.progress());
        const auto update = updateKeepingSavedGames(Wrapper(wrapper), build);
        if (update == building::WrapperUpdate::failed) return static_cast<int>(failed);
        session.console().print(update == building::WrapperUpdate::updated
                                    ? wrapper + " is at the version " + *build.currentCaskery + " now."
                                    : wrapper + " is up to date.");
        return static_cast<int>(done);
    });
}

}  // namespace morvane::cli
