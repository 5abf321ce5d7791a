#include <chrono>
#include <cstdint>
#include <string_view>

#include "building/tools.h"
#include "building/wrapper_creation.h"
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

/// The version in the master folder; the newest one where several lie there, which an update leaves when it
/// is killed between the new wrapper's arrival and the old one's removal.
std::optional<std::string> versionOnDisk(const std::optional<std::string>& newest) {
    return isOnDisk(newest) ? newest : WrapperCreation::getCurrentCaskeryVersion();
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

}  // namespace

WrapperCreation::WrapperCreation(std::shared_ptr<NSProgressView> progress)
    : Download(std::move(progress)),
      newestCaskery(getNewestCaskeryVersion()),
      currentCaskery(versionOnDisk(newestCaskery)) {}

std::optional<std::string> WrapperCreation::getNewestCaskeryVersion() {
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

std::optional<std::string> WrapperCreation::getCurrentCaskeryVersion() {
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

MasterWrapperSource WrapperCreation::masterWrapperSource() const {
    using Kind = MasterWrapperSource::Kind;
    const bool canAsk = newestCaskery && building::siteIsReachable();
    const auto& version = canAsk ? newestCaskery : currentCaskery;
    if (isOnDisk(version)) return {Kind::onDisk, masterWrapper(*version)};
    // A cancelled unpacking has left it.
    if (canAsk && archives::isWhole(masterArchive(*version))) return {Kind::archive, masterArchive(*version)};
    if (canAsk) {
        return {Kind::download, host().sites.caskery + "Wrapper/" +
                                    MVString::stringToWebStructure(*newestCaskery) + ".app.tar.7z"};
    }
    const bool hasArchive = version && MVFileManager::regularFileExistsAtPath(masterArchive(*version));
    return {hasArchive ? Kind::archive : Kind::none, version ? masterArchive(*version) : ""};
}

bool WrapperCreation::updateCaskery() {
    const auto failed = [this](const std::optional<std::string>& message) {
        if (message) MVAlert::showAlertErrorMessage(*message);
        currentCaskery = versionOnDisk(newestCaskery);
        return false;
    };
    if (!MVFileManager::directoryExistsAtPath(layout::masterFolder()) &&
        !MVFileManager::createDirectoryAtPath(layout::masterFolder(), IntermediateFolders::yes)) {
        return failed(std::nullopt);
    }
    bool unpacked = false;
    for (int pass = 0;; ++pass) {
        host().creation.throwIfRequested();
        currentCaskery = versionOnDisk(newestCaskery);
        if (unpacked && (!newestCaskery || isOnDisk(newestCaskery))) break;
        if (pass == masterWrapperPasses)
            return failed(localized("Caskery Master Wrapper extraction failed!"));

        const MasterWrapperSource source = masterWrapperSource();
        if (source.kind == MasterWrapperSource::Kind::onDisk) return true;
        if (source.kind == MasterWrapperSource::Kind::download) {
            setMessage(localized("Updating Caskery Master Wrapper..."));
            const std::string archive = masterArchive(*newestCaskery);
            // What lies there is no use, or it would have been taken: nobody needs to be asked about it.
            if (files::kindOf(archive) != files::Kind::none) {
                // Without 7-Zip, nothing could be said of it.
                if (!archives::archiveToolWorks("7z")) return failed(std::nullopt);
                MVFileManager::removeItemAtPath(archive);
            }
            downloadFile(source.place + building::cacheBuster(), archive, Silence::no);
            // The old master wrapper stays until the new one has been unpacked: the archive may be broken,
            // and then the user would be left without any.
            if (MVFileManager::regularFileExistsAtPath(archive)) currentCaskery = newestCaskery;
        } else if (newestCaskery && source.place == masterArchive(*newestCaskery)) {
            currentCaskery = newestCaskery;
        }
        if (!currentCaskery || !MVFileManager::regularFileExistsAtPath(masterArchive(*currentCaskery))) {
            return failed(localized("Caskery Master Wrapper download failed!"));
        }
        switch (unpackMasterWrapper(*currentCaskery)) {
            case UnpackedMasterWrapper::failed:
                return failed(std::nullopt);
            case UnpackedMasterWrapper::broken:
                break;
            case UnpackedMasterWrapper::done:
                unpacked = true;
        }
        MVFileManager::removeItemAtPath(masterArchive(*currentCaskery));
    }
    if (!isOnDisk(currentCaskery)) return failed(localized("Caskery Master Wrapper extraction failed!"));
    if (isOnDisk(newestCaskery)) removeMasterWrappersExcept(*newestCaskery);
    return true;
}

WrapperCreation::UnpackedMasterWrapper WrapperCreation::unpackMasterWrapper(const std::string& version) {
    setMessage(localized("Extracting Wrapper %@...", {version}));
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
    setMessage(localized("Creating Wrapper %@...", {version}));
    const std::string unpackedWrapper = files::join(inner, version + ".app");
    // A link would make every new wrapper one and the same.
    if (!whole || files::kindOf(unpackedWrapper) != files::Kind::folder) return UnpackedMasterWrapper::done;
    if (!MVFileManager::moveItemAtPath(unpackedWrapper, masterWrapper(version))) {
        return UnpackedMasterWrapper::failed;
    }
    return UnpackedMasterWrapper::done;
}

bool WrapperCreation::copyingMasterWrapperToPath(const std::string& wrapper) {
    ownWrapper_.reset();
    if (MVFileManager::fileExistsAtPath(wrapper)) return true;
    if (!isOnDisk(currentCaskery)) {
        MVAlert::showAlertErrorMessage(localized(
            "Something strange happened. The master wrapper was there a second ago, but now it's gone! "
            "Download Caskery Forge and press the Update button."));
        return false;
    }
    const std::string source = masterWrapper(*currentCaskery);
    // Half a copy would pass for an existing wrapper the next time.
    if (!archives::copyWhole(files::resolved(source).value_or(source), wrapper)) return false;
    ownWrapper_ = wrapper;
    MVTask::ignoreEnding(MVTask::runProgram(
        "chmod", "/", std::vector<std::string>{"+x", Wrapper(wrapper).settingsTool()}, Wait::yes));
    if (MVFileManager::fileExistsAtPath(wrapper)) return true;
    if (wrapper.starts_with(host().folders.home + "/Desktop/")) {
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

bool WrapperCreation::downloadFileToPath(const std::string& url, const std::string& path,
                                         const std::string& type) {
    setMessage(localized("Downloading %@...", {type}));
    return downloadFile(url, path, Silence::no);
}

}  // namespace morvane
