#include "building/store_clients.h"

// The stage that installs the store clients.

#include <algorithm>
#include <cctype>
#include <string_view>

#include "building/build.h"
#include "building/entry_removal.h"
#include "building/extra_files.h"
#include "building/foreseen_questions.h"
#include "building/installation.h"
#include "building/registry_writers.h"
#include "building/winetricks.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/safe_paths.h"
#include "foundation/text.h"
#include "platform/host.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/registry.h"
#include "wrapper/windows_paths.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace store_clients {
namespace {

/// A site that is not known has no installer.
std::string onSite(const std::string& site, std::string_view path) {
    return site.empty() ? "" : site + std::string(path);
}

/// The version in the first installer link of GOG's page. The page comes from a stranger, and the version
/// becomes part of a link and of a file's name: what can't be one is as good as none.
std::string versionOnPage(std::string_view page, std::string_view prefix) {
    static constexpr std::string_view marks = "._-+~";
    static constexpr std::size_t longest = 64;
    const auto start = page.find(prefix);
    if (prefix.empty() || start == std::string_view::npos) return {};
    const std::string_view rest = page.substr(start + prefix.size());
    const std::string_view version = rest.substr(0, rest.find(".exe"));
    const bool isVersion =
        version.size() <= longest && std::all_of(version.begin(), version.end(), [](unsigned char character) {
            return character < 0x80 && (std::isalnum(character) != 0 ||
                                        marks.find(static_cast<char>(character)) != std::string_view::npos);
        });
    return isVersion ? std::string(version) : "";
}

}  // namespace

StoreClient steam() {
    return {"Steam",
            onSite(host().sites.steam, "client/installer/SteamSetup.exe"),
            "/S",
            "Steam/steam.exe",
            {"nocrashdialog"}};
}

StoreClient origin() {
    return {"Origin",
            onSite(host().sites.origin, "windows/desktop/origin-9.12.0/download"),
            "/S",
            "Origin/Origin.exe",
            {"msxml3", "vcrun2013", "vb6run", "nocrashdialog", "vcrun2010", "macdriver=mac"}};
}

StoreClient uplay() {
    return {"Uplay",
            onSite(host().sites.uplay, "orbit/launcher_installer/UplayInstaller.exe"),
            "/S /NCRC",
            "Ubisoft/Ubisoft Game Launcher/",
            {"crypt32", "gdiplus_winxp", "msxml3", "winhttp"}};
}

StoreClient gogGalaxy() {
    const std::string prefix = onSite(host().sites.galaxyDelivery, "open/galaxy/client/setup_galaxy_");
    std::string link;
    if (!prefix.empty()) {
        const std::string page = onSite(host().sites.gog, "galaxy");
        const auto text = page.empty() ? std::nullopt : NSUtilities::stringWithContentsOfURL(page);
        link = prefix + versionOnPage(text.value_or(""), prefix) + ".exe";
    }
    return {"GOG Galaxy",
            link,
            "/VERYSILENT /NORESTART",
            "GalaxyClient/GalaxyClient.exe",
            {"msxml3", "vcrun2012", "nocrashdialog"}};
}

std::string noAddressOf(const std::string& client) {
    return localized(
        "This version of %@ knows no address of %@'s installer. Get the installer yourself and "
        "select it.",
        {"Morvane", client});
}

std::string proofOnDriveC(const StoreClient& client, const Wrapper& wrapper) {
    const std::string programs =
        NSUtilities::programFilesPathfromWrapper(wrapper.path(), For64BitsApplication::no);
    return programs.substr(std::min<std::size_t>(2, programs.size())) + "/" + client.proof;
}

}  // namespace store_clients

namespace {

using store_clients::StoreClient;

constexpr const char* originKey = R"([Software\\Origin])";
constexpr const char* uplayKey = R"([Software\\Wine\\AppDefaults\\Uplay.exe\\DllOverrides])";

bool install(Build& build, const StoreClient& client, const NSPortManager& port) {
    return installDRM(build, client.name, client.link, client.flags,
                      store_clients::proofOnDriveC(client, Wrapper(port.path)), client.components, port);
}

/// Where the installer is downloaded to; nothing for a link that gives no name for a file.
std::optional<std::string> installerPath(const std::string& link, const std::string& driveC) {
    auto path = pathInside(driveC, extra_files::nameOfLink(link), Levels::one, "the installer's name");
    if (!path) return std::nullopt;
    return *std::move(path);
}

/// A closed main queue answers every question with its default, and the default here is one more try.
bool isEnding() {
    return !host().mainQueue.callAndWait([] {});
}

}  // namespace

bool installDRM(Build& build, const std::string& client, const std::string& url, const std::string& flags,
                const std::string& neededFile, const std::vector<std::string>& winetricks,
                const NSPortManager& port) {
    installWinetricks(build, winetricks, port);
    const auto tellOfNoAddress = [&] {
        if (url.empty()) MVAlert::showAlertErrorMessage(store_clients::noAddressOf(client));
    };
    const std::string driveC = port.path + layout::driveC;
    const std::string proof = files::join(driveC, neededFile);
    const auto isInstalled = [&proof] { return MVFileManager::fileExistsAtPath(proof); };
    // Without a link, or with one that names no file, the silent installation has failed beforehand.
    const auto installer = installerPath(url, driveC);
    bool downloaded = false;
    while (!isInstalled()) {
        host().creation.throwIfRequested();
        if (installer &&
            build.downloadFileToPath(url, *installer, localized("extra file %@ installer", {client}))) {
            downloaded = true;
            build.setMessage(localized("Installing %@ in the background...", {client}));
            build.setSubtitle(localized("Please wait..."));
            runInstaller(*installer, flags, port);
            build.setSubtitle("");
        }
        tellOfNoAddress();
        if (!isInstalled() && MVAlert::isAnsweredYes(building::manualClientDialog(client)))
            installApp(build, std::nullopt, std::nullopt, port);
        if (isInstalled()) {
            // A file that was there before, and that the user took instead, is not ours to delete.
            if (downloaded) removeFileOrLink(*installer);
        } else if (MVAlert::isAnsweredYes(building::withoutClientDialog(client)) || isEnding()) {
            return false;
        }
    }
    return removeFromRegistryAppsThatRunAutomaticallyOnWrapperStartupAtFile(Wrapper(port.path));
}

bool installSteamAtPort(Build& build, const NSPortManager& port) {
    return install(build, store_clients::steam(), port);
}

bool installOriginAtPort(Build& build, const NSPortManager& port) {
    if (!install(build, store_clients::origin(), port)) return false;
    NSUtilities::replaceRegistryStrings(
        originKey, {{"AutopatchGlobal", "false"}, {"Autoupdate", "false"}, {"TelemOO", "false"}}, "system",
        port.path);
    return true;
}

bool installUplayAtPort(Build& build, const NSPortManager& port) {
    if (!install(build, store_clients::uplay(), port)) return false;
    std::string lines = NSUtilities::getRegistry(uplayKey, "user", port.path);
    lines = NSUtilities::setOnRegistryStringValue(lines, "native", "cryptnet");
    lines = NSUtilities::setOnRegistry(lines, std::nullopt, "crypt32");
    // One write: a kill never leaves the file without the key.
    return NSUtilities::saveUserOverrides({Value(std::string(uplayKey) + "\n" + lines + "\n\n")}, port.path);
}

bool installGOGGalaxyAtPort(Build& build, const NSPortManager& port) {
    return install(build, store_clients::gogGalaxy(), port);
}

}  // namespace morvane
