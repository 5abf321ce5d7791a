#include "building/configuration.h"

// The stage that turns a wrapper with a fresh prefix into the port, in its fixed order.

#include <algorithm>

#include "building/build.h"
#include "building/configuration_stages.h"
#include "building/extra_files.h"
#include "building/installation.h"
#include "building/launch_targets.h"
#include "building/main_program.h"
#include "building/registry_writers.h"
#include "building/settings_writers.h"
#include "building/store_clients.h"
#include "building/verb_script.h"
#include "building/winetricks.h"
#include "building/winetricks_lists.h"
#include "building/winetricks_script.h"
#include "building/wrapper_menu.h"
#include "foundation/build_log.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/banner.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

std::optional<ImageData> iconOf(const NSPortManager& port) {
    const auto name = NSUtilities::iconFileName(port.find(wrapper_keys::bundleIconFile));
    if (!name) return std::nullopt;
    auto bytes = files::read(port.path + layout::resources + "/" + *name);
    if (!bytes) return std::nullopt;
    return ImageData{*std::move(bytes), 0, 0};
}

void writeX11Settings(NSPortManager& port, const NSPortData& data) {
    port.set(wrapper_keys::enableFakeButtons, data.emulateThreeButtonsMouse);
    port.set(wrapper_keys::optionSendsAlt, data.optionKeyWorksAsAlt);
    port.synchronizeX11Plist();
}

void writeFlags(NSPortManager& port, const NSPortData& data) {
    port.set(wrapper_keys::disableCPUs, data.singleCpuMode);
    port.set(wrapper_keys::forceQuartzWM, data.decorateWindowWithQuartz);
    port.set(wrapper_keys::useXQuartz, data.useXQuartz);
    port.set(wrapper_keys::setMaxFiles, data.maxFiles10240);
    port.synchronizePlist();
}

void writeFnToggle(NSPortManager& port, const NSPortData& data) {
    port.set(wrapper_keys::isFnToggleEnabled, data.fnToggleDefaultValue);
    port.synchronizePlist();
}

/// Whether anything of the port runs the verb script: its own requests, or what a store's client needs first.
bool needsVerbs(const NSPortData& port) {
    const auto isComponent = [](const std::string& entry) {
        return entry != installAppMarker &&
               verb_script::requestOf(entry, std::nullopt).kind != verb_script::Request::Kind::engine;
    };
    return port.isSteam || port.isOrigin || port.isUplay || port.isGogGalaxy ||
           std::ranges::any_of(port.winetricks, isComponent);
}

void notifyInstalled(const NSPortManager& port) {
    NSUtilities::showNotificationMessage(localized("Installed successfully"),
                                         files::withoutExtension(files::lastComponent(port.path)), port.path,
                                         iconOf(port));
}

/// The stage of the settings files, and of what needs nothing but the port's own values.
void configureData(const NSPortData& port, NSPortManager& settings) {
    const Wrapper wrapper(settings.path);
    writeX11Settings(settings, port);
    saveCloseSafely(port.closePortNicely, wrapper);
    writeFlags(settings, port);
    saveCompany(port.company, wrapper);
    saveMacDriver(port.useMacDriver, wrapper);
    saveDirect3DBoost(port.useDirect3DBoost, wrapper);
    if (!port.useMacDriver) saveDecorateWindow(port.decorateWindows, wrapper);
    saveCaskeryWrapperMenuForPort(port, wrapper);
}

void runStage(Build& build, ConfigurationStage stage, const NSPortData& port, NSPortManager& settings) {
    switch (stage) {
        using enum ConfigurationStage;
        case data:
            return configureData(port, settings);
        case drives:
            saveDrives(port.drives, Wrapper(settings.path));
            return;
        case extensions:
            saveExtensions(port.supportedExtensions, settings);
            return;
        case verbScript:
            updateWinetricksListAtFile(Wrapper(settings.path),
                                       needsVerbs(port) ? NeedsVerbs::yes : NeedsVerbs::no);
            return;
        case verbsBefore:
            installWinetricks(build, winetricksBeforeAppFromList(port.winetricks), settings);
            return;
        case overrides:
            saveOverridesForPortData(build, port, settings);
            return;
        case programs:
            saveEXEs(port.exes, settings);
            return;
        case steam:
            installSteamAtPort(build, settings);
            return;
        case origin:
            installOriginAtPort(build, settings);
            return;
        case uplay:
            installUplayAtPort(build, settings);
            return;
        case gogGalaxy:
            installGOGGalaxyAtPort(build, settings);
            return;
        case extraFilesBefore:
            downloadExtraFiles(build, port.extraFilesBeforeInstaller, settings);
            return;
        case installer:
            installApp(build, port.originalInstallerName, port.source, settings);
            return;
        case extraFilesAfter:
            downloadExtraFiles(build, port.extraFilesAfterInstaller, settings);
            return;
        case verbsAfter:
            installWinetricks(build, winetricksAfterAppFromList(port.winetricks), settings);
            return;
        case functionKeys:
            return writeFnToggle(settings, port);
        case mainProgram:
            const auto program = confirmMainExePathForPort(settings, port.source);
            if (program && MVFileManager::fileExistsAtPath(*program)) notifyInstalled(settings);
            return;
    }
}

/// Of a stage without a progress line.
const char* nameInLog(ConfigurationStage stage) {
    switch (stage) {
        using enum ConfigurationStage;
        case overrides:
            return "overrides";
        case mainProgram:
            return "main program";
        default:
            return "store client";
    }
}

}  // namespace

std::vector<ConfigurationStage> configurationStages(const NSPortData& port) {
    using enum ConfigurationStage;
    std::vector<ConfigurationStage> stages{data, drives, extensions, verbScript, verbsBefore};
    const auto add = [&stages](bool applies, ConfigurationStage stage) {
        if (applies) stages.push_back(stage);
    };
    // Components write overrides of their own, so the port's come after the last component.
    const bool verbsFollowTheGame = !winetricksAfterAppFromList(port.winetricks).empty();
    const bool programsAreKnown = !relativePathsAreInExes(port.exes);
    add(!verbsFollowTheGame, overrides);
    add(programsAreKnown, programs);
    add(port.isSteam, steam);
    add(port.isOrigin, origin);
    add(port.isUplay, uplay);
    add(port.isGogGalaxy, gogGalaxy);
    // A GOG Galaxy port gets its game from the client.
    add(!port.isGogGalaxy, extraFilesBefore);
    add(!port.isGogGalaxy && port.originalInstallerNeeded, installer);
    add(!port.isGogGalaxy, extraFilesAfter);
    add(!programsAreKnown, programs);
    add(true, verbsAfter);
    add(verbsFollowTheGame, overrides);
    add(true, functionKeys);
    add(true, mainProgram);
    return stages;
}

std::string progressLineOf(ConfigurationStage stage) {
    switch (stage) {
        using enum ConfigurationStage;
        case data:
            return localized("Configuring Data...");
        case drives:
            return localized("Configuring Drives...");
        case extensions:
            return localized("Configuring Associated Extensions...");
        case verbScript:
            return localized("Updating Winetricks List...");
        case verbsBefore:
        case verbsAfter:
            return localized("Installing %@...", {"winetricks"});
        case programs:
            return localized("Configuring EXEs...");
        case extraFilesBefore:
        case extraFilesAfter:
            return localized("Downloading Extras...");
        case installer:
            return localized("Requesting Installer...");
        case functionKeys:
            return localized("Saving FnToogle default value...");
        case overrides:
        case steam:
        case origin:
        case uplay:
        case gogGalaxy:
        case mainProgram:
            return "";
    }
    return "";
}

void configureWrapperAt(Build& build, const Wrapper& wrapper, const NSPortData& port) {
    // One store for the whole configuration: every synchronise writes the file whole, so a second store would
    // undo what this one has written. The programs that run meanwhile inside the wrapper don't write its
    // settings.
    NSPortManager settings = NSPortManager::managerWithPath(wrapper.path());
    addHollinBannerAtFile(wrapper.path());
    build.progressWindow->showCreatingPort(CreatingPort::yes);
    for (const ConfigurationStage stage : configurationStages(port)) {
        host().creation.throwIfRequested();
        if (build.journal && build.journal->isDone(stage)) continue;
        const std::string line = progressLineOf(stage);
        if (!line.empty()) build.setMessage(line);
        if (const auto log = BuildLog::current(); log && line.empty()) log->stage(nameInLog(stage));
        if (build.journal) build.journal->begin(stage);
        runStage(build, stage, port, settings);
        if (build.journal) build.journal->end(stage);
    }
}

}  // namespace morvane
