#include "building/engine_store.h"

#include <algorithm>

#include "building/engine_archives.h"
#include "building/tools.h"
#include "engines/caskery_engine.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/archive_tools.h"
#include "wrapper/layout.h"

namespace morvane {

std::string localPathForOfficialEngine(const std::string& engine) {
    return files::join(layout::enginesFolder(), engine + ".tar.7z");
}

namespace building {

std::vector<std::string> storedArchivesOf(const std::string& engine) {
    std::vector<std::string> archives;
    if (!MVFileManager::directoryExistsAtPath(layout::enginesFolder())) return archives;
    for (const std::string& entry : MVFileManager::contentsOfDirectoryAtPath(layout::enginesFolder())) {
        const std::string path = files::join(layout::enginesFolder(), entry);
        if (engine_archives::isArchiveOf(entry, engine) && MVFileManager::regularFileExistsAtPath(path))
            archives.push_back(path);
    }
    return archives;
}

std::optional<std::string> storedEngineArchive(const std::string& engine) {
    if (auto known = NSCaskeryEngine::localPathForEngine(engine)) return known;
    const auto archives = storedArchivesOf(engine);
    return archives.empty() ? std::nullopt : std::optional(archives.front());
}

std::optional<std::string> placeInStore(const std::string& engine) {
    auto place = pathInside(layout::enginesFolder(), engine, Levels::one, localized("the engine's name"));
    if (!place) {
        MVAlert::showAlertErrorMessage(place.error().message());
        return std::nullopt;
    }
    return *std::move(place);
}

bool isOfficialEngine(const std::string& engine) {
    const auto official = NSCaskeryEngine::getListOfAvailableEnginesOnline();
    return std::ranges::find(official, engine) != official.end() && siteIsReachable();
}

std::string officialLinkOf(const std::string& engine) {
    return host().sites.caskery + "Engines/" + MVString::stringToWebStructure(engine) + ".tar.7z";
}

std::vector<EngineSource> engineSources(const std::string& engine,
                                        const std::optional<std::string>& customLink) {
    using Kind = EngineSource::Kind;
    std::vector<EngineSource> sources;
    const auto isStored = [&sources](const std::string& name) {
        const auto archive = storedEngineArchive(name);
        if (archive) sources.push_back({Kind::stored, name, *archive});
        return archive.has_value();
    };
    const auto addOfficial = [&sources](const std::string& name) {
        if (isOfficialEngine(name)) sources.push_back({Kind::official, name, officialLinkOf(name)});
    };
    if (isStored(engine)) return sources;
    // An engine of an old generation is there under its new name from its conversion on.
    if (const auto converted = NSCaskeryEngine(engine).nameAfterConversion();
        converted && isStored(*converted)) {
        return sources;
    }
    addOfficial(engine);
    const std::string recent = NSCaskeryEngine(engine).updateToMostRecentVersionForPortType("Caskery").engine;
    if (recent != engine) {
        if (isStored(recent)) return sources;
        addOfficial(recent);
    }
    if (customLink) {
        sources.push_back({Kind::link, engine, *customLink});
    } else {
        sources.push_back({Kind::user, engine, ""});
    }
    return sources;
}

std::optional<std::string> putAside(const std::string& archive, const std::string& name) {
    std::string aside = name + ".damaged";
    for (int number = 2; files::kindOf(aside) != files::Kind::none; ++number)
        aside = name + ".damaged-" + std::to_string(number);
    return MVFileManager::moveItemAtPath(archive, aside) ? std::optional(aside) : std::nullopt;
}

namespace {

/// Puts the archives of that name aside that can't be used. False when one had to stay. Beside an official
/// one, no other is used.
bool leaveWholeArchives(const std::string& engine) {
    const std::string official = localPathForOfficialEngine(engine);
    std::vector<std::string> stored = storedArchivesOf(engine);
    std::stable_partition(stored.begin(), stored.end(),
                          [&](const auto& archive) { return archive == official; });
    for (const std::string& archive : stored) {
        if (archives::isWhole(archive)) {
            if (archive == official) return true;
            continue;
        }
        const auto aside = putAside(archive, archive);
        if (!aside) return false;
        MVAlert::showAlertErrorMessage(
            localized("The archive %@ is damaged, or no archive at all. It is not used any more, and is now "
                      "at %@.",
                      {archive, *aside}));
    }
    return true;
}

}  // namespace

bool leaveWholeArchivesFor(const std::string& engine) {
    const NSCaskeryEngine wanted(engine);
    for (const std::string& name :
         {engine, wanted.nameAfterConversion().value_or(engine),
          NSCaskeryEngine(engine).updateToMostRecentVersionForPortType("Caskery").engine}) {
        if (!leaveWholeArchives(name)) return false;
        if (storedEngineArchive(name)) return true;
    }
    return true;
}

}  // namespace building

}  // namespace morvane
