#include "building/engine_extraction.h"
#include "building/engine_preparation.h"
#include "building/engine_store.h"
#include "building/tools.h"
#include "building/wrapper_creation.h"
#include "cli/commands.h"
#include "engines/caskery_engine.h"
#include "foundation/file_manager.h"
#include "platform/host.h"
#include "platform/json.h"
#include "runtime/system_engine.h"
#include "wrapper/layout.h"
#include "wrapper/wrapper.h"

namespace morvane::cli {

int listEngines(Session& session) {
    session.provideSite();
    return session.onWorker([&] {
        Array list;
        std::string lines;
        for (const std::string& name : NSCaskeryEngine::getListOfAvailableEngines()) {
            const auto local = NSCaskeryEngine::localPathForEngine(name);
            list.push_back(Dictionary{{"name", name}, {"archive", local ? Value(*local) : Value()}});
            lines += name + (local ? "\t" + *local : "") + "\n";
        }
        if (session.console().output() == Output::json) {
            session.console().print(jsonText(Value(list)));
        } else if (lines.empty()) {
            session.console().say(
                "No engine is known. Add this machine's Wine with: morvane engine add-system");
        } else {
            session.console().print(lines);
        }
        return static_cast<int>(done);
    });
}

int prepareEngine(Session& session, const std::string& name) {
    return session.withCreation([&](const std::shared_ptr<WrapperCreation>& creation) {
        // The store has one writer at a time.
        const building::SoleChange change;
        if (!change.granted()) return static_cast<int>(failed);
        const bool prepared = prepareEngine(*creation, name, std::nullopt);
        // It may have come, or been converted, under another name.
        const auto archive = building::storedEngineArchive(building::engineForWrapper(name, Wrapper("")));
        if (!prepared || !archive) return session.fail("The engine " + name + " is not available.");
        session.console().print(*archive);
        return static_cast<int>(done);
    });
}

int addSystemEngine(Session& session, EngineKind kind) {
    return session.onWorker([&] {
        // For Ctrl-C.
        const building::SoleChange change;
        if (!change.granted()) return static_cast<int>(failed);
        const std::string store = layout::enginesFolder();
        if (!MVFileManager::createDirectoryAtPath(store, IntermediateFolders::yes))
            return static_cast<int>(failed);
        const auto archive = runtime::packSystemEngine(
            store, kind == EngineKind::full ? runtime::SystemEngine::full : runtime::SystemEngine::thin,
            host().creation);
        if (!archive) return session.fail(archive.error());
        session.console().print(*archive);
        return static_cast<int>(done);
    });
}

}  // namespace morvane::cli
