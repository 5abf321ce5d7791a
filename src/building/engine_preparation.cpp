#include "building/engine_preparation.h"

// An engine on its way from the download site, a link or the user's disk into a wrapper.

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>

#include "building/archives.h"
#include "building/build.h"
#include "building/engine_store.h"
#include "building/foreseen_questions.h"
#include "building/tools.h"
#include "engines/caskery_engine.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "foundation/threads.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "platform/private_folder.h"
#include "wrapper/archive_tools.h"
#include "wrapper/layout.h"

namespace morvane {

namespace {

constexpr const char* bundleName = "ckwine.bundle";

/// Kinds that engines come in beside those that every stage unpacks. "gz" is also what a link without any
/// extension is stored as.
constexpr std::array<std::string_view, 6> furtherKinds{"gz", "bz2", "tgz", "tbz", "tbz2", "txz"};

/// How many archives may lie in one another: deeper than any engine is packed.
constexpr int deepestNesting = 8;

bool isFurtherKind(std::string_view extension) {
    return std::ranges::find(furtherKinds, extension) != furtherKinds.end();
}

std::vector<std::string> archiveKinds() {
    std::vector<std::string> kinds = archiveExtensions();
    kinds.insert(kinds.end(), furtherKinds.begin(), furtherKinds.end());
    return kinds;
}

bool isArchiveKind(std::string_view extension) {
    const std::vector<std::string> kinds = archiveKinds();
    return std::ranges::find(kinds, MVString::lowercased(extension)) != kinds.end();
}

/// "CK9Wine3.0.zip" and "CK9Wine3.0.tar.xz" are archives of CK9Wine3.0; "CK9Wine3.0.1.zip" is another
/// engine's.
bool isArchiveOf(const std::string& entry, const std::string& engine) {
    if (!entry.starts_with(engine + ".")) return false;
    std::string kind = MVString::lowercased(std::string_view(entry).substr(engine.size() + 1));
    if (kind.starts_with("tar.")) kind.erase(0, 4);
    const std::vector<std::string> kinds = archiveKinds();
    return std::ranges::find(kinds, kind) != kinds.end();
}

std::vector<std::string> storedArchivesOf(const std::string& engine) {
    std::vector<std::string> archives;
    if (!MVFileManager::directoryExistsAtPath(layout::enginesFolder())) return archives;
    for (const std::string& entry : MVFileManager::contentsOfDirectoryAtPath(layout::enginesFolder())) {
        const std::string path = files::join(layout::enginesFolder(), entry);
        if (isArchiveOf(entry, engine) && MVFileManager::regularFileExistsAtPath(path))
            archives.push_back(path);
    }
    return archives;
}

/// The place of the engine in the store, without an extension. Names come from ports: one that leads out of
/// the store is reported and gives nothing.
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
    return std::ranges::find(official, engine) != official.end() && building::siteIsReachable();
}

std::string officialLinkOf(const std::string& engine) {
    return host().sites.caskery + "Engines/" + MVString::stringToWebStructure(engine) + ".tar.7z";
}

/// Moves an archive that can't be used to a name that no archive is looked for under, made of the one that it
/// would have; the new path, or nothing after a reported error.
std::optional<std::string> putAside(const std::string& archive, const std::string& name) {
    std::string aside = name + ".damaged";
    for (int number = 2; files::kindOf(aside) != files::Kind::none; ++number)
        aside = name + ".damaged-" + std::to_string(number);
    return MVFileManager::moveItemAtPath(archive, aside) ? std::optional(aside) : std::nullopt;
}

/// Puts the archives of that name aside that can't be used. False when one had to stay. Beside an official
/// one, no other is used.
bool leaveWholeArchives(const std::string& engine) {
    const std::string official = localPathForOfficialEngine(engine);
    std::vector<std::string> stored = storedArchivesOf(engine);
    std::ranges::stable_partition(stored, [&](const auto& archive) { return archive == official; });
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

/// The same for what the engine may be taken from, up to the first that is there.
bool leaveWholeArchivesFor(const std::string& engine) {
    const NSCaskeryEngine wanted(engine);
    for (const std::string& name :
         {engine, wanted.nameAfterConversion().value_or(engine),
          NSCaskeryEngine(engine).updateToMostRecentVersionForPortType("Caskery").engine}) {
        if (!leaveWholeArchives(name)) return false;
        if (building::storedEngineArchive(name)) return true;
    }
    return true;
}

/// Whatever it is called: an xz file unpacks into a name without an extension.
bool isTar(const std::string& path) {
    constexpr std::streamoff magicAt = 257;
    std::array<char, 5> magic{};
    std::ifstream file(path, std::ios::binary);
    file.seekg(magicAt);
    file.read(magic.data(), magic.size());
    return file && std::string_view(magic.data(), magic.size()) == "ustar";
}

/// The extension of the link's last path component, or of a file name in its query where that one is of no
/// kind; "tar.gz" where there is none.
std::string extensionOfLink(const std::string& link) {
    const auto parts = parseUrl(link);
    const std::string path = parts ? parts->path : link.substr(0, link.find_first_of("?#"));
    const std::string extension = files::extension(files::lastComponent(path));
    if (isArchiveKind(extension)) return extension;
    const std::string withoutFragment = link.substr(0, link.find('#'));
    std::string query = withoutFragment.substr(std::min(withoutFragment.find('?'), withoutFragment.size()));
    std::ranges::replace_if(
        query, [](char each) { return each == '&' || each == '?'; }, '\n');
    for (const std::string& value : MVString::split(query, "\n")) {
        const std::string inQuery = files::extension(value);
        if (isArchiveKind(inQuery)) return inQuery;
    }
    return extension.empty() ? "tar.gz" : extension;
}

/// The kind of an archive by its first bytes; empty for those that have none of the usual beginnings.
std::string kindByFirstBytes(const std::string& path) {
    struct Beginning {
        std::string_view bytes, kind;
    };
    using namespace std::string_view_literals;
    constexpr std::array beginnings{Beginning{"7z\xBC\xAF\x27\x1C"sv, "7z"},
                                    Beginning{"\xFD"
                                              "7zXZ\0"sv,
                                              "xz"},
                                    Beginning{"\x1F\x8B"sv, "gz"}, Beginning{"PK\3\4"sv, "zip"},
                                    Beginning{"BZh"sv, "bz2"}};
    std::array<char, 6> bytes{};
    std::ifstream(path, std::ios::binary).read(bytes.data(), bytes.size());
    const std::string_view start(bytes.data(), bytes.size());
    const auto* found = std::ranges::find_if(
        beginnings, [start](const Beginning& each) { return start.starts_with(each.bytes); });
    if (found != beginnings.end()) return std::string(found->kind);
    return isTar(path) ? "tar" : "";
}

/// Where an archive that came from a link goes: a link need not tell what it leads to.
std::string withItsKind(const std::string& destination, const std::string& engine,
                        const std::string& arrived) {
    const bool isTold = isArchiveKind(files::extension(destination)) && files::extension(destination) != "gz";
    const std::string kind = isTold ? "" : kindByFirstBytes(arrived);
    if (kind.empty() || kind == files::extension(destination)) return destination;
    return files::join(files::parent(destination), engine + "." + kind);
}

void reportUnavailableEngine() {
    MVAlert::showAlertErrorMessage(localized("Port creation will fail! The engine isn't available!"));
}

enum class Arrived { calledOff, failed, stored };

/// Downloads an archive, and puts it into the store when it is whole; without one the user is told how that
/// ends.
Arrived download(Build& build, const std::string& link, std::string destination, const std::string& engine) {
    const archives::UnpackingFolder arriving(".arriving");
    if (arriving.path.empty()) return Arrived::calledOff;
    const std::string arrived = files::join(arriving.path, files::lastComponent(destination));
    if (!build.downloadFileToPath(link, arrived, localized("engine %@", {engine}))) return Arrived::calledOff;
    if (!MVFileManager::regularFileExistsAtPath(arrived)) {
        reportUnavailableEngine();
        return Arrived::failed;
    }
    destination = withItsKind(destination, engine, arrived);
    if (!archives::isWhole(arrived)) {
        const auto aside = putAside(arrived, destination);
        MVAlert::showAlertErrorMessage(localized(
            "What was downloaded as the engine %@ is damaged, or no archive at all (%@). Check your connection "
            "and prepare the engine again, or put a whole archive at %@.",
            {engine, aside.value_or(link), destination}));
        return Arrived::failed;
    }
    // Something of that name, but of no kind in which the engine is looked for.
    if (files::kindOf(destination) != files::Kind::none && !putAside(destination, destination))
        return Arrived::failed;
    return MVFileManager::moveItemAtPath(arrived, destination) ? Arrived::stored : Arrived::failed;
}

Arrived downloadOfficial(Build& build, const std::string& engine) {
    // The catalogue comes from outside as well, and the name becomes that of a file.
    if (!isOfficialEngine(engine) || !placeInStore(engine)) return Arrived::calledOff;
    return download(build, officialLinkOf(engine) + building::cacheBuster(),
                    localPathForOfficialEngine(engine), engine);
}

/// Copies the file that the user picks into the store. False when it is no archive, which the user is told;
/// picking none is no failure.
bool takeUsersArchive(const std::string& engine) {
    const std::vector<std::string> chosen = MVAlert::chooseFiles(building::engineFilePanel(engine));
    if (chosen.empty()) return true;
    const auto destination = placeInStore(engine + "." + files::extension(chosen.front()));
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

/// What unpacking one file of a level gives, in the fresh folder; the file itself when it is no archive.
std::vector<std::string> unpackedOnce(const std::string& file, const std::string& folder) {
    // Anything but a file could block whoever opens it.
    if (files::kindBehind(file) != files::Kind::file) return {file};
    const bool tar = isTar(file);
    if (!tar && !isFurtherKind(MVString::lowercased(files::extension(file)))) {
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
bool replaceEngine(const std::string& bundle, const std::string& wrapper) {
    const std::string target = wrapper + layout::engine;
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

OpenPanel building::engineFilePanel(const std::string& engine) {
    OpenPanel panel;
    panel.title = localized("Select the engine %@", {engine});
    panel.types = archiveKinds();
    panel.packagesAsFolders = true;
    return panel;
}

std::optional<std::string> building::storedEngineArchive(const std::string& engine) {
    if (auto known = NSCaskeryEngine::localPathForEngine(engine)) return known;
    const auto archives = storedArchivesOf(engine);
    return archives.empty() ? std::nullopt : std::optional(archives.front());
}

bool building::storedEngineRuns(const std::string& engine, Machine machine) {
    const auto archive = storedEngineArchive(engine);
    // Outside the store, which another process may be using.
    const auto folder = files::PrivateFolder::make(host().folders.temporary);
    if (!archive || !folder) return true;
    const std::string& place = folder->path();
    const bool isOfficial = *archive == localPathForOfficialEngine(engine);
    const auto bundle =
        isOfficial ? unpackedOfficialArchive(*archive, engine, place) : unpackedInLevels(*archive, place);
    return !bundle || bundle->empty() || engineRuns(*bundle, machine);
}

std::string building::engineForWrapper(const std::string& engine, const std::string& wrapper) {
    const auto inUse = getCaskeryWrapperEngineFromPath(wrapper);
    const std::string converted = NSCaskeryEngine(engine).nameAfterConversion().value_or(engine);
    for (const std::string& name : {engine, converted}) {
        if (storedEngineArchive(name) || inUse == name) return name;
    }
    const std::string recent = NSCaskeryEngine(engine).updateToMostRecentVersionForPortType("Caskery").engine;
    return storedEngineArchive(recent) ? recent : engine;
}

std::vector<building::EngineSource> building::engineSources(const std::string& engine,
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

bool prepareEngine(Build& build, const std::string& engine, std::optional<std::string> customLink) {
    build.setMessage(localized("Preparing Engine..."));
    if (!placeInStore(engine)) return false;
    if (!MVFileManager::directoryExistsAtPath(layout::enginesFolder()) &&
        !MVFileManager::createDirectoryAtPath(layout::enginesFolder(), IntermediateFolders::yes)) {
        return false;
    }
    // Without 7-Zip every archive would pass for a damaged one.
    if (!archives::archiveToolWorks("7z") || !leaveWholeArchivesFor(engine)) return false;
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
    const auto destination = placeInStore(engine + "." + extensionOfLink(*customLink));
    if (!destination) return false;
    const Arrived arrived = download(build, *customLink, *destination, engine);
    if (arrived == Arrived::calledOff) reportUnavailableEngine();
    return arrived == Arrived::stored;
}

std::string localPathForOfficialEngine(const std::string& engine) {
    return files::join(layout::enginesFolder(), engine + ".tar.7z");
}

bool downloadOfficialEngine(Build& build, const std::string& engine) {
    return downloadOfficial(build, engine) == Arrived::stored;
}

bool getLocalCustomEngine(const std::string& engine) {
    static_cast<void>(takeUsersArchive(engine));
    return true;
}

ExtractedEngine extractEngine(Build& build, const std::string& engine, const std::string& wrapper) {
    if (getCaskeryWrapperEngineFromPath(wrapper) == engine) return ExtractedEngine::alreadyThere;
    const auto place = placeInStore(engine);
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
    for (const std::string& archive : isOfficial ? std::vector<std::string>() : storedArchivesOf(engine)) {
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

std::optional<std::string> getCaskeryWrapperEngineFromPath(const std::string& wrapper) {
    // Byte by byte: a name outside ASCII is compared as it is and is no reason to trouble the user.
    const auto text = MVString::stringWithContentsOfFile(wrapper + layout::engineVersion, Encoding::eightBit);
    if (!text) return std::nullopt;
    std::string line = text->substr(0, text->find('\n'));
    if (line.ends_with('\r')) line.pop_back();
    return line;
}

}  // namespace morvane
