#include "building/winetricks_files.h"

// What a component will download, fetched into Winetricks' own cache before it is installed.

#include <algorithm>

#include "building/build.h"
#include "building/foreseen_questions.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/safe_paths.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "foundation/threads.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "wrapper/port_manager.h"

namespace morvane {

namespace {

using VerbDownload = verb_script::Download;

/// A text of the script in a dialog.
std::string shown(std::string_view text) {
    constexpr std::size_t longest = 200;
    std::string visible(text.substr(0, longest));
    std::replace_if(
        visible.begin(), visible.end(),
        [](unsigned char character) { return character < ' ' || character == 0x7F; }, '?');
    return text.size() > longest ? visible + "…" : visible;
}

std::string labelOf(const std::string& component) {
    return localized("winetrick %@", {component});
}

Result<std::string> placeOfFolder(const std::string& component) {
    // A helper's folder may have several levels.
    return pathInside(winetricks::cacheFolder(), component, Levels::many, localized("a winetrick's name"));
}

/// The place of the file in the cache, in a folder that exists. A name that leads elsewhere is reported and
/// gives nothing.
std::optional<std::string> targetOf(const VerbDownload& download) {
    auto place = winetricks::placeInCache(download.folder, download.file);
    if (!place) {
        MVAlert::showAlertErrorMessage(place.error().message() + " " +
                                       localized("That file is not downloaded."));
        return std::nullopt;
    }
    if (!localFolderForWinetrick(download.folder)) return std::nullopt;
    return *std::move(place);
}

bool isInCatalogue(const VerbDownload& manual) {
    return manual.file == verb_script::catalogueManualFile;
}

bool canBeFollowed(const VerbDownload& download) {
    if (isFetchableLink(download.link)) return true;
    MVAlert::showAlertErrorMessage(localized("The download link seems to be invalid.") + " " +
                                   localized("\"%@\" of the winetrick %@ is not downloaded.",
                                             {shown(download.link), shown(download.folder)}));
    return false;
}

/// Without an address, a server counts as one that does not answer.
bool isKnown(const std::string& site) {
    if (site.empty()) MVAlert::showAlertErrorMessage(localized("The website seems to be offline."));
    return !site.empty();
}

void giveUp(const VerbDownload& download) {
    MVAlert::showAlertErrorMessage(
        localized("\"%@\" of the winetrick %@ was downloaded several times, and never had the expected "
                  "checksum. The installation goes on without it.",
                  {download.file, download.folder}));
}

bool isWrong(const VerbDownload& download, const std::string& target, WithoutAsking asking) {
    bool again = false;
    compareSHA1Checksum(download.checksum, target, asking, [&again](bool answer) { again = answer; });
    return again;
}

/// Fetches the file unless it is in the cache already. False when its sum is wrong, the user wanted it again,
/// and the web archive's copy was wrong as well.
bool fetchOnce(Build& build, const VerbDownload& download) {
    const auto target = targetOf(download);
    if (!target || !canBeFollowed(download)) return true;
    if (!MVFileManager::fileExistsAtPath(*target)) {
        build.downloadFileToPath(download.link, *target, labelOf(download.folder));
    }
    if (!isWrong(download, *target, WithoutAsking::no)) {
        build.useFile(*target, download.link);
        return true;
    }
    if (!isKnown(host().sites.webArchive)) return true;
    build.downloadFileToPath(winetricks::archiveAddressOf(download.link), *target, labelOf(download.folder));
    return !isWrong(download, *target, WithoutAsking::yes);
}

/// The downloads of one component or helper: a file that is wrong in the end has them all handled again,
/// since the source may have been exchanged meanwhile.
void fetchAll(Build& build, const std::vector<VerbDownload>& downloads) {
    int retries = 0;
    for (std::size_t next = 0; next < downloads.size();) {
        host().creation.throwIfRequested();
        if (fetchOnce(build, downloads[next])) {
            ++next;
        } else if (retries < winetricks::checksumRetries) {
            ++retries;
            next = 0;
        } else {
            giveUp(downloads[next++]);
        }
    }
}

void openForUser(const std::string& link, const std::string& folder) {
    MVThread::dispatchBlockInMainQueue([link, folder] {
        host().userInterface.openLink(link);
        host().userInterface.openPath(folder);
    });
}

/// Asks for the file; whether the user wants to go on without it.
bool userGivesUp(const std::string& file) {
    return !MVAlert::isAnsweredYes(building::manualDownloadDialog(file)) &&
           MVAlert::isAnsweredYes(building::noManualDownloadDialog());
}

/// Has the user fetch the file, until it is there or he gives up.
void requestFile(Build& build, const VerbDownload& download, const std::string& target) {
    build.progressWindow->setMessage(
        localized("Please, download %@ and put in the opened folder", {download.file}), CreatingPort::yes);
    for (int questions = 0; !MVFileManager::fileExistsAtPath(target); ++questions) {
        if (questions == winetricks::manualDownloadQuestions) {
            MVAlert::showAlertErrorMessage(
                localized("\"%@\" is still not in the opened folder. The installation goes on without it.",
                          {download.file}));
            return;
        }
        openForUser(download.link, files::parent(target));
        if (userGivesUp(download.file)) return;
    }
}

verb_script::Visitor fetchingWith(Build& build) {
    return {
        .catalogueFile =
            [&build](const std::string& component, const std::string& file) {
                downloadFileFromMorvaneWebsiteToWinetrick(build, file, component);
            },
        .helper = [&build](const std::string&,
                           const std::string& text) { fetchAll(build, verb_script::helperDownloads(text)); },
        .component =
            [&build](const std::string& component, const std::string& text) {
                downloadWDownloadManualWinetrick(build, component, text);
                downloadWDownloadWinetrick(build, component, text);
            },
    };
}

}  // namespace

std::string winetricks::cacheFolder() {
    return host().folders.verbsCache;
}

Result<std::string> winetricks::placeInCache(const std::string& folder, const std::string& file) {
    auto place = placeOfFolder(folder);
    if (!place) return place;
    return pathInside(*place, file, Levels::one, localized("a file name of a winetrick"));
}

VerbDownload winetricks::fromCatalogue(const std::string& component, const std::string& file) {
    return {.folder = component,
            .file = file,
            .link = host().sites.catalogue + "ckis/winetricks/" + component + "/" + file,
            .checksum = {}};
}

std::string winetricks::archiveAddressOf(const std::string& link) {
    return host().sites.webArchive + link;
}

void winetricks::forEachDownload(std::string_view script, const std::string& component,
                                 std::set<std::string>& visited,
                                 const std::function<void(const VerbDownload& download, bool byHand)>& work) {
    const auto all = [&work](const std::vector<VerbDownload>& downloads) {
        for (const VerbDownload& download : downloads) work(download, false);
    };
    const verb_script::Visitor visitor{
        .catalogueFile = [&](const std::string& name,
                             const std::string& file) { work(fromCatalogue(name, file), false); },
        .helper = [&](const std::string&,
                      const std::string& text) { all(verb_script::helperDownloads(text)); },
        .component =
            [&](const std::string& name, const std::string& text) {
                const auto manual = verb_script::manualDownload(text, name);
                if (manual && isInCatalogue(*manual)) {
                    work(fromCatalogue(verb_script::catalogueManualComponent, manual->file), false);
                } else if (manual) {
                    work(*manual, true);
                }
                all(verb_script::ordinaryDownloads(text, name));
            }};
    verb_script::visit(script, component, visited, visitor);
}

void winetricks::fetchFilesOf(Build& build, const std::string& component, const Wrapper& wrapper,
                              std::set<std::string>& visited) {
    const std::string script =
        MVString::stringWithContentsOfFile(wrapper.winetricks(), Encoding::utf8).value_or("");
    verb_script::visit(script, component, visited, fetchingWith(build));
}

std::optional<std::string> localFolderForWinetrick(const std::string& component) {
    const auto place = placeOfFolder(component);
    if (!place) {
        MVAlert::showAlertErrorMessage(place.error().message());
        return std::nullopt;
    }
    const std::string& path = *place;
    if (!MVFileManager::directoryExistsAtPath(path) &&
        !MVFileManager::createDirectoryAtPath(path, IntermediateFolders::yes)) {
        return std::nullopt;
    }
    return path + "/";
}

void manuallyDownloadWinetrick(Build& build, const std::string& component, const Wrapper& wrapper) {
    std::set<std::string> visited;
    winetricks::fetchFilesOf(build, component, wrapper, visited);
}

void downloadWDownloadWinetrick(Build& build, const std::string& component, const std::string& raw) {
    fetchAll(build, verb_script::ordinaryDownloads(raw, component));
}

void downloadWDownloadManualWinetrick(Build& build, const std::string& component, const std::string& raw) {
    const auto download = verb_script::manualDownload(raw, component);
    if (!download) return;
    if (isInCatalogue(*download)) {
        downloadFileFromMorvaneWebsiteToWinetrick(build, download->file,
                                                  verb_script::catalogueManualComponent);
        return;
    }
    const auto target = targetOf(*download);
    if (!target || !canBeFollowed(*download)) return;
    for (int retries = 0;; ++retries) {
        if (!MVFileManager::fileExistsAtPath(*target)) requestFile(build, *download, *target);
        if (!isWrong(*download, *target, WithoutAsking::yes)) return;
        if (retries == winetricks::checksumRetries) return giveUp(*download);
    }
}

void downloadHelperWinetrick(Build& build, const std::string& helper, const std::string& raw) {
    std::set<std::string> visited;
    verb_script::visitHelper(raw, helper, visited, fetchingWith(build));
}

void downloadFileFromMorvaneWebsiteToWinetrick(Build& build, const std::string& file,
                                               const std::string& component) {
    const VerbDownload download = winetricks::fromCatalogue(component, file);
    const auto target = targetOf(download);
    if (!target || MVFileManager::fileExistsAtPath(*target) || !isKnown(host().sites.catalogue)) return;
    build.downloadFileToPath(download.link, *target, labelOf(component));
}

namespace {

constexpr std::size_t sha1Digits = 40, sha256Digits = 64;

/// The sum of the file in the form of the expected one; nothing for one of no known form, which says nothing
/// about the file.
std::optional<std::string> sumLike(const std::string& expected, const std::string& file) {
    if (expected.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return std::nullopt;
    if (expected.size() == sha1Digits) return NSUtilities::getFileSHA1CheckSum(file);
    if (expected.size() == sha256Digits) return NSUtilities::getFileSHA256CheckSum(file);
    return std::nullopt;
}

}  // namespace

void compareSHA1Checksum(const std::string& expected, const std::string& file,
                         WithoutAsking promptingErrorDialog,
                         const std::function<void(bool again)>& completion) {
    // A download that failed has left no file, and so no sum to be wrong.
    const auto sum = MVFileManager::regularFileExistsAtPath(file) ? sumLike(expected, file) : std::nullopt;
    const std::string computed = sum.value_or("");
    if (computed.empty() || computed == expected) return completion(false);
    const bool isSha256 = expected.size() == sha256Digits;
    if (isSha256 && computed == MVString::lowercased(expected)) return completion(false);
    MVFileManager::removeItemAtPath(file);
    if (promptingErrorDialog == WithoutAsking::yes) return completion(true);
    completion(MVAlert::showBooleanAlertMessage(
        localized(
            isSha256
                ? marked("The SHA256 checksum of the downloaded file is %@ while the one specified in the "
                         "winetricks.sh file is %@. Should it be downloaded again?")
                : marked("The SHA1 checksum of the downloaded file is %@ while the one specified in the "
                         "winetricks.sh file is %@. Should it be downloaded again?"),
            {computed, shown(expected)}),
        "Warning", true));
}

}  // namespace morvane
