#include <set>

#include "building/engine_change.h"
#include "building/engine_extraction.h"
#include "building/engine_facts.h"
#include "building/engine_preparation.h"
#include "building/engine_store.h"
#include "building/tools.h"
#include "building/wrapper_creation.h"
#include "cli/commands.h"
#include "cli/table.h"
#include "engines/caskery_engine.h"
#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "library/apps_scan.h"
#include "library/local_items.h"
#include "platform/files.h"
#include "platform/host.h"
#include "runtime/brought_engine.h"
#include "runtime/system_engine.h"
#include "wrapper/layout.h"
#include "wrapper/wrapper.h"

namespace morvane::cli {

namespace {

/// Everything that may hold an engine: the library, and what lies in the apps folders.
std::vector<std::string> knownWrappers() {
    std::set<std::string> paths;
    for (const LocalItem& item : local_items::storedItems()) paths.insert(item.path);
    for (const LocalItem& item : scanAppsFolders(local_items::validAppsFolders(), [] { return true; }))
        paths.insert(item.path);
    // A launcher and a link to a wrapper stand for the wrapper itself.
    std::set<std::string> wrappers;
    for (const std::string& path : paths) {
        const std::string wrapper = LibraryItem(path).wrapper().path();
        wrappers.insert(files::resolved(wrapper).value_or(wrapper));
    }
    return {wrappers.begin(), wrappers.end()};
}

std::string versionOf(const std::string& engine) {
    const std::size_t wine = engine.find("Wine");
    return wine == std::string::npos ? "" : engine.substr(wine + std::string_view("Wine").size());
}

Array rowOf(const std::string& engine, const std::vector<std::string>& wrappers, Output output) {
    const auto archive = NSCaskeryEngine::localPathForEngine(engine);
    const auto facts = archive ? building::factsOf(engine) : std::nullopt;
    const auto users = building::wrappersWith(engine, wrappers);
    Array row{engine, versionOf(engine)};
    if (facts) {
        const auto bytes = static_cast<std::int64_t>(facts->bytes);
        row.insert(row.end(), {facts->runs32, facts->runs64, facts->isThin ? "thin" : "full"});
        row.push_back(output == Output::json
                          ? Value(bytes)
                          : Value(NSUtilities::humanReadableSizeForBytes(bytes, DecimalMeasureSystem::yes)));
    } else {
        row.insert(row.end(), 4, output == Output::json ? Value() : Value(""));
    }
    row.emplace_back(Array(users.begin(), users.end()));
    row.push_back(archive ? Value(*archive) : output == Output::json ? Value() : Value(""));
    return row;
}

}  // namespace

int listEngines(Session& session) {
    session.provideSite();
    return session.onWorker([&] {
        Table table{{{"name", marked("Name")},
                     {"version", marked("Version")},
                     {"runs32", "32 bits"},
                     {"runs64", "64 bits"},
                     {"kind", marked("Kind")},
                     {"size", marked("Size")},
                     {"wrappers", marked("Used by")},
                     {"archive", marked("Archive")}},
                    {}};
        const auto wrappers = knownWrappers();
        for (const std::string& name : NSCaskeryEngine::getListOfAvailableEngines())
            table.rows.push_back(rowOf(name, wrappers, session.console().output()));
        if (table.rows.empty() && session.console().output() != Output::json) {
            session.console().say(
                localized("No engine is known. Add this machine's Wine with: morvane engine add-system"));
        }
        printTable(session.console(), table);
        return static_cast<int>(done);
    });
}

int addEngine(Session& session, const std::string& place, const std::optional<std::string>& name) {
    return session.onWorker([&] {
        // For Ctrl-C, and because the store has one writer at a time.
        const building::SoleChange change;
        if (!change.granted()) return static_cast<int>(failed);
        const auto engine = runtime::addEngine(expandedPath(place), name, host().creation);
        if (!engine) return session.fail(engine.error());
        session.console().print(*engine);
        return static_cast<int>(done);
    });
}

int removeEngine(Session& session, const std::string& name, InUse inUse) {
    return session.onWorker([&] {
        const building::SoleChange change;
        if (!change.granted()) return static_cast<int>(failed);
        if (!building::placeInStore(name)) return static_cast<int>(failed);
        if (building::storedArchivesOf(name).empty())
            return session.fail(localized("There is no engine %@ on this computer.", {name}));
        const auto users = building::wrappersWith(name, knownWrappers());
        if (!users.empty() && inUse == InUse::kept) {
            return session.fail(localized(
                "The engine %@ is in use: %@. They keep theirs when it is removed with --in-use, but it can't be put into them again.",
                {name, MVString::joined(users, ", ")}));
        }
        return building::removeFromStore(name) ? int{done} : int{failed};
    });
}

int changeEngine(Session& session, const std::string& app, const std::string& name) {
    return session.withCreation([&](const std::shared_ptr<WrapperCreation>& creation) {
        const building::SoleChange change;
        if (!change.granted()) return static_cast<int>(failed);
        const Wrapper wrapper = LibraryItem(expandedPath(app)).wrapper();
        if (!wrapper.runsPrograms()) return session.fail(localized("%@ is no wrapper.", {app}));
        if (getCaskeryWrapperEngineFromPath(wrapper) == name)
            return session.fail(localized("The wrapper has the engine %@ already.", {name}));
        if (!prepareEngine(*creation, name, std::nullopt)) return int{failed};
        const std::string engine = building::engineForWrapper(name, Wrapper(""));
        if (!building::storedEngineArchive(engine))
            return session.fail(localized("The engine %@ is not available.", {name}));
        const auto changed = building::changeEngine(*creation, wrapper, engine);
        if (!changed) return session.fail(changed.error());
        session.console().print(engine);
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
        if (!prepared || !archive) return session.fail(localized("The engine %@ is not available.", {name}));
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
