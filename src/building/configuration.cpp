// The stage that turns a wrapper with a fresh prefix into the port, in its fixed order.

#include "building/winetricks_lists.h"
#include "building/wrapper_creation.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/banner.h"
#include "wrapper/layout.h"

namespace morvane {
namespace {

std::optional<ImageData> iconOf(const NSPortManager& port) {
    const auto name = NSUtilities::iconFileName(port.plistObjectForKey("CFBundleIconFile"));
    if (!name) return std::nullopt;
    auto bytes = files::read(port.path + layout::resources + "/" + *name);
    if (failureOf(bytes) != nullptr) return std::nullopt;
    return ImageData{std::get<std::string>(std::move(bytes)), 0, 0};
}

void writeX11Settings(NSPortManager& port, const NSPortData& data) {
    port.setX11PlistObject(Value(data.emulateThreeButtonsMouse), "enable_fake_buttons");
    port.setX11PlistObject(Value(data.optionKeyWorksAsAlt), "option_sends_alt");
    port.synchronizeX11Plist();
}

void writeFlags(NSPortManager& port, const NSPortData& data) {
    port.setPlistObject(Value(data.singleCpuMode), "Disable CPUs");
    port.setPlistObject(Value(data.decorateWindowWithQuartz), "force wrapper quartz-wm");
    port.setPlistObject(Value(data.useXQuartz), "Use XQuartz");
    port.setPlistObject(Value(data.maxFiles10240), "set max files");
    port.synchronizePlist();
}

void writeFnToggle(NSPortManager& port, const NSPortData& data) {
    port.setPlistObject(Value(data.fnToggleDefaultValue), "IsFnToggleEnabled");
    port.synchronizePlist();
}

void notifyInstalled(const NSPortManager& port) {
    NSUtilities::showNotificationMessage(localized("Installed successfully"),
                                         files::withoutExtension(files::lastComponent(port.path)), port.path,
                                         iconOf(port));
}

}  // namespace

bool WrapperCreation::configureWrapperAt(const std::string& wrapper, const NSPortData& port) {
    // One store for the whole configuration: every synchronise writes the file whole, so a second store would
    // undo what this one has written. The programs that run meanwhile inside the wrapper don't write its
    // settings.
    NSPortManager settings = NSPortManager::managerWithPath(wrapper);
    const auto stage = [this](const std::string& message) {
        host().creation.throwIfRequested();
        setMessage(message);
    };
    const std::string installingWinetricks = localized("Installing %@...", {"winetricks"});
    const bool programsAreKnown = !relativePathsAreInExes(port.exes);
    // Winetricks verbs write overrides of their own, so the port's overrides come after the last verb.
    const bool verbsFollowTheGame = !winetricksAfterAppFromList(port.winetricks).empty();

    addHollinBannerAtFile(wrapper);
    progressWindow->showCreatingPort(CreatingPort::yes);
    stage(localized("Configuring Data..."));
    writeX11Settings(settings, port);
    saveCloseSafely(port.closePortNicely, wrapper);
    writeFlags(settings, port);
    saveCompany(port.company, wrapper);
    saveMacDriver(port.useMacDriver, wrapper);
    saveDirect3DBoost(port.useDirect3DBoost, wrapper);
    if (!port.useMacDriver) saveDecorateWindow(port.decorateWindows, wrapper);
    saveCaskeryWrapperMenuForPort(port, wrapper);
    stage(localized("Configuring Drives..."));
    saveDrives(port.drives, wrapper);
    stage(localized("Configuring Associated Extensions..."));
    saveExtensions(port.supportedExtensions, settings);

    // `buildPortAt` refuses a port that lists winetricks, extra files or a store client before anything is
    // made; here their places in the order stand, with the lines that such a port shows for an empty list.
    stage(localized("Updating Winetricks List..."));
    stage(installingWinetricks);
    if (!verbsFollowTheGame) saveOverridesForPortData(port, settings);
    if (programsAreKnown) {
        stage(localized("Configuring EXEs..."));
        saveEXEs(port.exes, settings);
    }
    // A GOG Galaxy port gets its game from the client.
    if (!port.isGogGalaxy) {
        stage(localized("Downloading Extras..."));
        if (port.originalInstallerNeeded) {
            stage(localized("Requesting Installer..."));
            installApp(port.originalInstallerName, port.source, settings);
        }
        stage(localized("Downloading Extras..."));
    }
    if (!programsAreKnown) {
        stage(localized("Configuring EXEs..."));
        saveEXEs(port.exes, settings);
    }
    stage(installingWinetricks);
    if (verbsFollowTheGame) saveOverridesForPortData(port, settings);
    stage(localized("Saving FnToogle default value..."));
    writeFnToggle(settings, port);

    host().creation.throwIfRequested();
    const auto program = confirmMainExePathForPort(settings, port.source);
    if (program && MVFileManager::fileExistsAtPath(*program)) notifyInstalled(settings);
    return true;
}

}  // namespace morvane
