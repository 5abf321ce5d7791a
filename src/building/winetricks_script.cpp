#include "building/winetricks_script.h"

// The wrapper's Winetricks script: a fresh copy for each port, patched.

#include <string_view>

#include "building/build.h"
#include "building/tools.h"
#include "building/winetricks_files.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "wrapper/layout.h"
#include "wrapper/wrapper.h"

namespace morvane {

namespace {

constexpr std::size_t shortestScript = 50;

constexpr std::string_view asking = "WINETRICKS_OPT_SHAREDPREFIX=1 ;;";
constexpr std::string_view silent = "WINETRICKS_OPT_SHAREDPREFIX=1 ; winetricks_set_unattended 1 ;;";
constexpr std::string_view versionCheck = "winetricks_latest_version_check()\n{\n    if";
constexpr std::string_view noVersionCheck = "winetricks_latest_version_check()\n{\n    return\n    if";

void warnOfFailedUpdate() {
    const auto catalogue = parseUrl(host().sites.catalogue);
    MVAlert::showAlertMessage(
        localized("The winetricks list failed to update from GitHub and from %s. That can be a problem if "
                  "that port uses any recent winetrick.",
                  {catalogue ? catalogue->host : localized("the catalogue server")}),
        "Warning");
}

void makeRunnable(const std::string& script) {
    MVTask::ignoreEnding(
        MVTask::runProgram("chmod", "/", std::vector<std::string>{"755", script}, Wait::yes));
}

}  // namespace

std::string winetricks::sharedScript() {
    return files::join(layout::supportFolder(), "winetricks/winetricks");
}

std::optional<winetricks::Script> winetricks::scriptWithSource() {
    const auto fetched = [](const std::string& site, const std::string& path) -> std::optional<Script> {
        if (!NSUtilities::isWebsiteOfUrlAvailable(site)) return std::nullopt;
        auto bytes = NSUtilities::safeDataWithContentsOfURL(site + path);
        if (!isWinetrickFileContentValid(bytes)) return std::nullopt;
        return Script{std::move(*bytes), site + path};
    };
    if (auto script = fetched(host().sites.verbs,
                              "Winetricks/winetricks/master/src/winetricks" + building::cacheBuster())) {
        return script;
    }
    if (auto script = fetched(host().sites.catalogue, "ckis/winetricks/winetricks")) return script;
    if (!MVFileManager::regularFileExistsAtPath(sharedScript())) return std::nullopt;
    auto bytes = files::read(sharedScript());
    if (!bytes) return std::nullopt;
    Script shared{*std::move(bytes), ""};
    return isWinetrickFileContentValid(shared.bytes) ? std::optional(std::move(shared)) : std::nullopt;
}

bool updateWinetricksListAtFile(const Wrapper& wrapper, NeedsVerbs needsVerbs) {
    const auto tellOfFailedUpdate = [needsVerbs] {
        if (needsVerbs == NeedsVerbs::yes) warnOfFailedUpdate();
    };
    const std::string shared = winetricks::sharedScript();
    if (!NSUtilities::isWebsiteOfUrlAvailable(host().sites.verbs) &&
        !NSUtilities::isWebsiteOfUrlAvailable(host().sites.catalogue) &&
        !MVFileManager::regularFileExistsAtPath(shared)) {
        tellOfFailedUpdate();
        return true;
    }
    const auto fresh = winetricks::scriptWithSource();
    if (!fresh) {
        tellOfFailedUpdate();
        return false;
    }
    const std::string patched = MVString::replacedAll(MVString::replacedAll(fresh->bytes, asking, silent),
                                                      versionCheck, noVersionCheck);
    MVFileManager::removeItemAtPath(wrapper.path() + layout::settingsToolResources +
                                    "/winetricksHelpList.plist");
    // Over the old one, not after its removal: a kill in between would leave a wrapper without a script.
    const std::string script = wrapper.winetricks();
    MVString::writeToFile(patched, script, files::Atomically::yes, Encoding::utf8);
    const std::string folder = files::parent(shared);
    if (MVFileManager::directoryExistsAtPath(folder) ||
        MVFileManager::createDirectoryAtPath(folder, IntermediateFolders::yes)) {
        MVString::writeToFile(patched, shared, files::Atomically::yes, Encoding::utf8);
    }
    makeRunnable(script);
    return true;
}

bool isWinetrickFileContentValid(const std::optional<std::string>& bytes) {
    if (!bytes || bytes->size() < shortestScript || !MVString::isValidUtf8(*bytes)) return false;
    // Servers and portals write the beginning of a page in other ways as well; no script looks like these.
    const std::string start = MVString::lowercased(MVString::trimmed(bytes->substr(0, shortestScript)));
    return !start.starts_with("<html") && !start.starts_with("<!doctype html");
}

void setWinetricksSilent(Silence silence, const Wrapper& wrapper) {
    const std::string script = wrapper.winetricks();
    const auto text = MVString::stringWithContentsOfFile(script, Encoding::utf8);
    if (!text) return;
    const bool isSilent = silence == Silence::yes;
    MVString::writeToFile(
        MVString::replacedAll(*text, isSilent ? asking : silent, isSilent ? silent : asking), script,
        files::Atomically::yes, Encoding::utf8);
    makeRunnable(script);
}

}  // namespace morvane
