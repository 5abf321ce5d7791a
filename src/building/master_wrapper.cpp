#include "building/master_wrapper.h"

#include <chrono>
#include <cstdint>
#include <string_view>

#include "building/build.h"
#include "building/tools.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/safe_paths.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "wrapper/archive_tools.h"
#include "wrapper/wrapper.h"

namespace morvane {

namespace {

constexpr std::string_view technology = "Caskery";
constexpr std::size_t shortestVersion = 9;
/// A game's start waits for the answer: a site that hangs must not hold it up for long.
constexpr std::chrono::seconds longestSilence{5};
constexpr std::uint64_t longestVersionFile = 4096;

std::string masterWrapper(const std::string& version) {
    return files::join(layout::masterFolder(), version + ".app");
}

std::string masterArchive(const std::string& version) {
    return files::join(layout::masterFolder(), version + ".tar.7z");
}

bool isOnDisk(const std::optional<std::string>& version) {
    return version && MVFileManager::directoryExistsAtPath(masterWrapper(*version));
}

/// Master wrappers and their archives; the folder is shared with other tools and may hold a user's own files.
bool isOfMasterWrapper(const std::string& name) {
    const bool archive = name.ends_with(".tar") || name.ends_with(".7z");
    if (!archive && !name.ends_with(".app")) return false;
    if (name.starts_with(technology)) return true;
    const std::string path = files::join(layout::masterFolder(), name);
    return !archive && Wrapper(path).runsPrograms();
}

void removeMasterWrappersExcept(const std::string& version) {
    for (const std::string& name : MVFileManager::contentsOfDirectoryAtPath(layout::masterFolder())) {
        if (name == version + ".app" || !isOfMasterWrapper(name)) continue;
        MVFileManager::removeItemAtPath(files::join(layout::masterFolder(), name));
    }
}

/// What an update that was killed at its end has left: the old one by its usual name, and no wrapper of the user's.
void removeLeftovers(const std::string& newest) {
    for (const std::string& name : MVFileManager::contentsOfDirectoryAtPath(layout::masterFolder())) {
        const std::string path = files::join(layout::masterFolder(), name);
        const bool isMaster = name.starts_with(std::string(technology) + "-") && name.ends_with(".app");
        if (isMaster && name != newest + ".app" &&
            !MVFileManager::fileExistsAtPath(Wrapper(path).systemRegistry()))
            MVFileManager::removeItemAtPath(path);
    }
}

enum class UnpackedMasterWrapper { failed, broken, done };
/// One unpacking of the archive in the master folder; broken when the user wants it downloaded again.
UnpackedMasterWrapper unpackMasterWrapper(Build& build, const std::string& version) {
    build.setMessage(localized("Extracting Wrapper %@...", {version}));
    if (!archives::archiveToolWorks("7za")) return UnpackedMasterWrapper::failed;
    const archives::UnpackingFolder unpacking;
    if (unpacking.path.empty()) return UnpackedMasterWrapper::failed;

    const std::string outer = archives::freshFolder(unpacking.path),
                      inner = archives::freshFolder(unpacking.path);
    if (outer.empty() || inner.empty()) return UnpackedMasterWrapper::failed;
    const auto tar =
        archives::unpackedTar(masterArchive(version), {version + ".tar", version + ".app.tar"}, outer);
    if (!tar) {
        const bool replace = MVAlert::showBooleanAlertMessage(
            localized(
                "Your master wrapper is corrupted. %@ needs to redownload it in order to create the wrapper. "
                "Can the actual master wrapper be replaced? Pressing No will cancel the game installation.",
                {"Morvane"}),
            "Warning", true);
        if (replace) return UnpackedMasterWrapper::broken;
        MVAlert::showAlertErrorMessage(
            localized("Your Caskery Master Wrapper is corrupted! The wrapper creation failed!"));
        return UnpackedMasterWrapper::failed;
    }
    const bool whole = archives::unpackTar(*tar, inner);
    build.setMessage(localized("Creating Wrapper %@...", {version}));
    const std::string unpackedWrapper = files::join(inner, version + ".app");
    // A link would make every new wrapper one and the same.
    if (!whole || files::kindOf(unpackedWrapper) != files::Kind::folder) return UnpackedMasterWrapper::done;
    if (!MVFileManager::moveItemAtPath(unpackedWrapper, masterWrapper(version))) {
        return UnpackedMasterWrapper::failed;
    }
    return UnpackedMasterWrapper::done;
}

}  // namespace

std::optional<std::string> getNewestCaskeryVersion() {
    auto& cache = host().newestMasterWrapper;
    const MutexLock lock(cache.mutex);
    if (cache.value || !building::siteIsReachable()) return cache.value;
    const auto answer =
        http::fetch({.url = host().sites.caskery + "Wrapper/NewestVersion.txt" + building::cacheBuster(),
                     .idleTimeout = longestSilence,
                     .longestBody = longestVersionFile});
    if (!answer.error.empty() || !MVString::isValidUtf8(answer.body)) return std::nullopt;
    const std::string version = MVString::replacedAll(MVString::replacedAll(answer.body, "\n", ""), "\r", "");
    if (version.size() < shortestVersion || !version.starts_with(technology)) return std::nullopt;
    // The version becomes a file name: an answer that leads elsewhere is as good as none.
    if (!pathInside(layout::masterFolder(), version + ".tar.7z", Levels::one, version)) return {};
    cache.value = version;
    return version;
}

std::optional<std::string> masterWrapperOnDisk(const std::optional<std::string>& newest) {
    return isOnDisk(newest) ? newest : getCurrentCaskeryVersion();
}

std::optional<std::string> getCurrentCaskeryVersion() {
    const std::string folder = layout::masterFolder();
    if (!MVFileManager::directoryExistsAtPath(folder)) return std::nullopt;
    std::optional<std::string> wrapper, archive;
    for (const std::string& name : MVFileManager::contentsOfDirectoryAtPath(folder)) {
        if (!isOfMasterWrapper(name)) continue;
        std::string version = name;
        for (const char* ending : {".app", ".tar", ".7z"})
            version = MVString::replacedAll(version, ending, "");
        (isOnDisk(version) ? wrapper : archive) = version;
    }
    // A finished wrapper is worth more than an archive that a download has left, which may be broken.
    return wrapper ? wrapper : archive;
}

MasterWrapperSource masterWrapperSource(const Build& build) {
    using Kind = MasterWrapperSource::Kind;
    const bool canAsk = build.newestCaskery && building::siteIsReachable();
    const auto& version = canAsk ? build.newestCaskery : build.currentCaskery;
    if (isOnDisk(version)) return {Kind::onDisk, masterWrapper(*version)};
    // A cancelled unpacking has left it.
    if (canAsk && archives::isWhole(masterArchive(*version))) return {Kind::archive, masterArchive(*version)};
    if (canAsk) {
        return {Kind::download, host().sites.caskery + "Wrapper/" +
                                    MVString::stringToWebStructure(*build.newestCaskery) + ".app.tar.7z"};
    }
    const bool hasArchive = version && MVFileManager::regularFileExistsAtPath(masterArchive(*version));
    return {hasArchive ? Kind::archive : Kind::none, version ? masterArchive(*version) : ""};
}

bool updateCaskery(Build& build) {
    const auto failed = [&build](const std::optional<std::string>& message) {
        if (message) MVAlert::showAlertErrorMessage(*message);
        build.currentCaskery = masterWrapperOnDisk(build.newestCaskery);
        return false;
    };
    if (!MVFileManager::directoryExistsAtPath(layout::masterFolder()) &&
        !MVFileManager::createDirectoryAtPath(layout::masterFolder(), IntermediateFolders::yes)) {
        return failed(std::nullopt);
    }
    bool unpacked = false;
    for (int pass = 0;; ++pass) {
        host().creation.throwIfRequested();
        build.currentCaskery = masterWrapperOnDisk(build.newestCaskery);
        if (unpacked && (!build.newestCaskery || isOnDisk(build.newestCaskery))) break;
        if (pass == masterWrapperPasses)
            return failed(localized("Caskery Master Wrapper extraction failed!"));

        const MasterWrapperSource source = masterWrapperSource(build);
        if (source.kind == MasterWrapperSource::Kind::onDisk) {
            if (build.newestCaskery && source.place == masterWrapper(*build.newestCaskery))
                removeLeftovers(*build.newestCaskery);
            return true;
        }
        if (source.kind == MasterWrapperSource::Kind::download) {
            build.setMessage(localized("Updating Caskery Master Wrapper..."));
            const std::string archive = masterArchive(*build.newestCaskery);
            // What lies there is no use, or it would have been taken: nobody needs to be asked about it.
            if (files::kindOf(archive) != files::Kind::none) {
                // Without 7-Zip, nothing could be said of it.
                if (!archives::archiveToolWorks("7z")) return failed(std::nullopt);
                MVFileManager::removeItemAtPath(archive);
            }
            build.downloadFile(source.place, archive, Silence::no, building::cacheBuster());
            // The old master wrapper stays until the new one has been unpacked: the archive may be broken,
            // and then the user would be left without any.
            if (MVFileManager::regularFileExistsAtPath(archive)) build.currentCaskery = build.newestCaskery;
        } else if (build.newestCaskery && source.place == masterArchive(*build.newestCaskery)) {
            build.currentCaskery = build.newestCaskery;
        }
        if (!build.currentCaskery ||
            !MVFileManager::regularFileExistsAtPath(masterArchive(*build.currentCaskery))) {
            return failed(localized("Caskery Master Wrapper download failed!"));
        }
        switch (unpackMasterWrapper(build, *build.currentCaskery)) {
            case UnpackedMasterWrapper::failed:
                return failed(std::nullopt);
            case UnpackedMasterWrapper::broken:
                break;
            case UnpackedMasterWrapper::done:
                unpacked = true;
        }
        MVFileManager::removeItemAtPath(masterArchive(*build.currentCaskery));
    }
    if (!isOnDisk(build.currentCaskery))
        return failed(localized("Caskery Master Wrapper extraction failed!"));
    if (isOnDisk(build.newestCaskery)) removeMasterWrappersExcept(*build.newestCaskery);
    return true;
}

bool copyingMasterWrapperToPath(Build& build, const Wrapper& wrapper) {
    build.made.place.reset();
    if (MVFileManager::fileExistsAtPath(wrapper.path())) return true;
    if (!isOnDisk(build.currentCaskery)) {
        MVAlert::showAlertErrorMessage(localized(
            "Something strange happened. The master wrapper was there a second ago, but now it's gone! "
            "Download Caskery Forge and press the Update button."));
        return false;
    }
    const std::string source = masterWrapper(*build.currentCaskery);
    // Half a copy would pass for an existing wrapper the next time.
    if (!archives::copyWhole(files::resolved(source).value_or(source), wrapper.path())) return false;
    build.made.place = wrapper.path();
    MVTask::ignoreEnding(
        MVTask::runProgram("chmod", "/", std::vector<std::string>{"+x", wrapper.settingsTool()}, Wait::yes));
    if (MVFileManager::fileExistsAtPath(wrapper.path())) return true;
    if (wrapper.path().starts_with(host().folders.desktop + "/")) {
        MVAlert::showAlertErrorMessage(localized(
            "The master wrapper couldn't be copied to the specified destination! Probably your master "
            "wrapper is corrupted. Remove all the files from that folder and try again:\n%@",
            {layout::masterFolder()}));
    } else {
        MVAlert::showAlertErrorMessage(localized(
            "The master wrapper couldn't be copied to the specified destination! Try to create it in a "
            "different folder, like your Desktop."));
    }
    return false;
}

}  // namespace morvane
