#include "building/engine_extraction.h"

#include <algorithm>

#include "building/archives.h"
#include "building/build.h"
#include "building/engine_archives.h"
#include "building/engine_store.h"
#include "engines/caskery_engine.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "foundation/threads.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/private_folder.h"
#include "wrapper/archive_tools.h"
#include "wrapper/layout.h"
#include "wrapper/wrapper.h"

namespace morvane {

namespace {

constexpr const char* bundleName = "ckwine.bundle";

/// How many archives may lie in one another: deeper than any engine is packed.
constexpr int deepestNesting = 8;

/// What unpacking one file of a level gives, in the fresh folder; the file itself when it is no archive.
std::vector<std::string> unpackedOnce(const std::string& file, const std::string& folder) {
    // Anything but a file could block whoever opens it.
    if (files::kindBehind(file) != files::Kind::file) return {file};
    const bool tar = engine_archives::isTar(file);
    if (!tar && !engine_archives::isFurtherKind(MVString::lowercased(files::extension(file)))) {
        return extractFileToFolder(file, folder);
    }
    // The tar program keeps links and run bits, without which an engine does not start.
    if (tar) {
        if (!archives::unpackTar(file, folder)) return {};
    } else if (!archives::unpack("7z", file, folder, {"-y"})) {
        return {};
    }
    std::vector<std::string> entries;
    for (const std::string& name : MVFileManager::contentsOfDirectoryAtPath(folder))
        entries.push_back(files::join(folder, name));
    return entries;
}

/// Unpacks the archive, and what comes out of it, each in a folder of its own in the place, until the engine is
/// there; the engine's path.
std::optional<std::string> unpackedInLevels(const std::string& archive, const std::string& place) {
    const auto isBundle = [](const std::string& path) {
        // A link instead of the folder would make the wrapper run what lies elsewhere.
        return files::lastComponent(path) == bundleName && files::kindOf(path) == files::Kind::folder;
    };
    std::vector<std::string> level{archive};
    for (int depth = 0; depth < deepestNesting; ++depth) {
        host().creation.throwIfRequested();
        std::vector<std::string> next;
        for (const std::string& file : level) {
            const std::string folder = archives::freshFolder(place);
            if (folder.empty()) return std::nullopt;
            auto files = unpackedOnce(file, folder);
            next.insert(next.end(), files.begin(), files.end());
        }
        if (const auto bundle = std::ranges::find_if(next, isBundle); bundle != next.end()) return *bundle;
        if (next == level) return std::nullopt;
        level = std::move(next);
    }
    return std::nullopt;
}

/// The engine's path; an empty one when the archive is whole and holds none. Nothing when it is not whole.
std::optional<std::string> unpackedOfficialArchive(const std::string& archive, const std::string& engine,
                                                   const std::string& place) {
    const std::string outer = archives::freshFolder(place), inner = archives::freshFolder(place);
    if (outer.empty() || inner.empty()) return std::nullopt;
    const auto tar = archives::unpackedTar(archive, {engine + ".tar"}, outer);
    if (!tar) return std::nullopt;
    static_cast<void>(archives::unpackTar(*tar, inner));
    const std::string bundle = files::join(inner, bundleName);
    return files::kindOf(bundle) == files::Kind::folder ? bundle : "";
}

void reportCorruptedEngine(const std::string& place) {
    MVAlert::showAlertErrorMessage(
        localized("The engine %@ is corrupted! Remove it and then try again!", {place}));
}

/// Puts the bundle into the wrapper. The old engine goes only when the new one lies beside it, complete: the
/// move may be a copy between disks, which may fail. It is renamed first, since half an engine that still
/// tells its name would pass for an engine after a kill.
bool replaceEngine(const std::string& bundle, const Wrapper& wrapper) {
    const std::string target = wrapper.engine();
    const std::string arriving = target + ".new", leaving = target + ".old";
    if (!MVFileManager::removeItemAtPath(arriving) || !MVFileManager::removeItemAtPath(leaving) ||
        !MVFileManager::moveItemAtPath(bundle, arriving)) {
        return false;
    }
    const bool hadEngine = files::kindOf(target) != files::Kind::none;
    if (hadEngine && !MVFileManager::moveItemAtPath(target, leaving)) return false;
    if (!MVFileManager::moveItemAtPath(arriving, target)) {
        if (hadEngine) static_cast<void>(files::move(leaving, target));
        return false;
    }
    MVFileManager::removeItemAtPath(leaving);
    return true;
}

}  // namespace

bool building::lookIntoStoredEngine(const std::string& engine,
                                    const std::function<void(const std::string& bundle)>& look) {
    const auto archive = building::storedEngineArchive(engine);
    // Outside the store, which another process may be using.
    const auto folder = files::PrivateFolder::make(host().folders.temporary);
    if (!archive || !folder) return false;
    const std::string& place = folder->path();
    const bool isOfficial = *archive == localPathForOfficialEngine(engine);
    const auto bundle =
        isOfficial ? unpackedOfficialArchive(*archive, engine, place) : unpackedInLevels(*archive, place);
    if (!bundle || bundle->empty()) return false;
    look(*bundle);
    return true;
}

bool building::storedEngineRuns(const std::string& engine, Machine machine) {
    bool runs = true;
    building::lookIntoStoredEngine(engine,
                                   [&](const std::string& bundle) { runs = engineRuns(bundle, machine); });
    return runs;
}

std::string building::engineForWrapper(const std::string& engine, const Wrapper& wrapper) {
    const auto inUse = getCaskeryWrapperEngineFromPath(wrapper);
    const std::string converted = NSCaskeryEngine(engine).nameAfterConversion().value_or(engine);
    for (const std::string& name : {engine, converted}) {
        if (building::storedEngineArchive(name) || inUse == name) return name;
    }
    const std::string recent = NSCaskeryEngine(engine).updateToMostRecentVersionForPortType("Caskery").engine;
    return building::storedEngineArchive(recent) ? recent : engine;
}

ExtractedEngine extractEngine(Build& build, const std::string& engine, const Wrapper& wrapper) {
    if (getCaskeryWrapperEngineFromPath(wrapper) == engine) return ExtractedEngine::alreadyThere;
    const auto place = building::placeInStore(engine);
    if (!place) return ExtractedEngine::failure;
    const std::string official = localPathForOfficialEngine(engine);
    const bool isOfficial = MVFileManager::regularFileExistsAtPath(official);
    // Left by other tools that unpack in the store itself. Without the official archive beside it, the tar
    // file is the user's own engine.
    if (isOfficial) MVFileManager::removeItemAtPath(*place + ".tar");
    MVFileManager::removeItemAtPath(files::join(layout::enginesFolder(), bundleName));

    build.setMessage(localized("Extracting Engine %@...", {engine}));
    if (!archives::archiveToolWorks("7za")) return ExtractedEngine::failure;
    std::optional<archives::UnpackingFolder> unpacking;
    const auto freshFolder = [&] { return !unpacking.emplace().path.empty(); };
    std::optional<std::string> bundle;
    if (isOfficial) {
        if (!freshFolder()) return ExtractedEngine::failure;
        bundle = unpackedOfficialArchive(official, engine, unpacking->path);
        if (!bundle) {
            reportCorruptedEngine(*place);
            MVThread::dispatchBlockInMainQueue(
                [] { host().userInterface.openPath(layout::enginesFolder()); });
            return ExtractedEngine::failure;
        }
    }
    for (const std::string& archive :
         isOfficial ? std::vector<std::string>() : building::storedArchivesOf(engine)) {
        if (!freshFolder()) return ExtractedEngine::failure;
        bundle = unpackedInLevels(archive, unpacking->path);
        if (bundle) break;
    }
    if (!bundle || bundle->empty()) {
        reportCorruptedEngine(*place);
        return ExtractedEngine::failure;
    }
    // In the wrapper, what leads out of the engine leads elsewhere than it did in the archive's folder.
    archives::tame(*bundle);
    return replaceEngine(*bundle, wrapper) ? ExtractedEngine::installed : ExtractedEngine::failure;
}

std::optional<std::string> getCaskeryWrapperEngineFromPath(const Wrapper& wrapper) {
    // Byte by byte: a name outside ASCII is compared as it is and is no reason to trouble the user.
    const auto text = MVString::stringWithContentsOfFile(wrapper.engineVersion(), Encoding::eightBit);
    if (!text) return std::nullopt;
    std::string line = text->substr(0, text->find('\n'));
    if (line.ends_with('\r')) line.pop_back();
    return line;
}

}  // namespace morvane
