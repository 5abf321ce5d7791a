#include <algorithm>

#include "building/configuration.h"
#include "building/configured_wrapper.h"
#include "foundation/text.h"
#include "platform/cancellation.h"

namespace morvane {
namespace {

using testing::ConfiguredWrapper;

class ConfigureWrapper : public ConfiguredWrapper {
  protected:
    ConfigureWrapper() { putSharedVerbScript(); }
    /// The status lines of one configuration.
    Names configure(const NSPortData& port) {
        ui.progress.clear();
        onWorker([&] { configureWrapperAt(*build, Wrapper(wrapper), port); });
        auto lines = ui.statusLines();
        // The panel opens with what it showed last.
        lines.erase(lines.begin(), std::find(lines.begin(), lines.end(), "Configuring Data..."));
        return lines;
    }
    static NSPortData portOf(const std::string& path, const char* installer = nullptr) {
        NSPortData port;
        port.exes = {program("Game", path)};
        port.originalInstallerNeeded = installer != nullptr;
        if (installer != nullptr) port.originalInstallerName = installer;
        return port;
    }
};

TEST_F(ConfigureWrapper, ShowsEveryStageInItsOrder) {
    const std::string installer = home + "/Downloads/setup.exe";
    const Names beginning{"Configuring Data...", "Configuring Drives...",
                          "Configuring Associated Extensions...", "Updating Winetricks List...",
                          "Installing winetricks..."};
    const Names overrides{"Overriding registries...", "Setting video memory size manually...",
                          "Cleaning Auto-Run apps list..."};
    const Names programs{"Configuring EXEs..."}, extras{"Downloading Extras..."};
    const Names game{"Requesting Installer...", "Running " + installer + "..."};
    const auto component = [](const std::string& name) {
        return Names{"Installing winetrick " + name + "..."};
    };
    const Names verbs{"Installing winetricks..."}, ending{"Saving FnToogle default value..."};
    put(installer, "MZ");
    put(driveC + "/Game/game.exe", "MZ");

    const NSPortData known = portOf("C:/Game/game.exe");
    const NSPortData withInstaller = portOf("C:/*/game.exe", "setup.exe");
    NSPortData verbsAfter = known, markerLast = known, galaxy = withInstaller;
    verbsAfter.winetricks = {"vcrun2010", "Install App", "corefonts"};
    markerLast.winetricks = {"vcrun2010", "Install App"};
    galaxy.isGogGalaxy = true;

    struct Row {
        const char* name;
        NSPortData port;
        std::vector<Names> stages;
        std::string before = {};  ///< the component that comes before everything else
    };
    // The client is there already, and so is what the catalogue would supply for it.
    put(driveC + "/Program Files/GalaxyClient/GalaxyClient.exe", "MZ");
    put(home + "/.cache/winetricks/msxml3/msxml3.msi", "msi");
    for (const Row& row : {
             Row{"known programs", known, {overrides, programs, extras, verbs}},
             Row{"found later", portOf("C:/*/game.exe"), {overrides, extras, programs, verbs}},
             Row{"with an installer", withInstaller, {overrides, extras, game, extras, programs, verbs}},
             Row{"verbs after the game",
                 verbsAfter,
                 {programs, extras, verbs, component("corefonts"), overrides},
                 "vcrun2010"},
             Row{"nothing after the marker", markerLast, {overrides, programs, extras, verbs}, "vcrun2010"},
             Row{"GOG Galaxy",
                 galaxy,
                 {overrides, component("msxml3"), component("vcrun2012"), component("nocrashdialog"),
                  programs, verbs}},
         }) {
        Names expected = beginning;
        if (!row.before.empty()) expected.push_back(component(row.before).front());
        for (const Names& stage : row.stages) expected.insert(expected.end(), stage.begin(), stage.end());
        expected.insert(expected.end(), ending.begin(), ending.end());
        EXPECT_EQ(configure(row.port), expected) << row.name;
    }
    std::string calls = asked();
    EXPECT_EQ(MVString::split(calls, "CKS-installer ").size(), 2u)
        << "only the port with an installer runs it";
    EXPECT_EQ(MVString::split(calls, "CKS-winetricks ").size(), 7u) << calls;
}

TEST_F(ConfigureWrapper, WritesEverySettingOfThePort) {
    put(driveC + "/Game/game.exe", "MZ");
    for (const bool value : {true, false}) {
        NSPortData port = portOf("C:/Game/game.exe");
        port.emulateThreeButtonsMouse = port.optionKeyWorksAsAlt = port.closePortNicely = value;
        port.singleCpuMode = port.decorateWindowWithQuartz = port.useXQuartz = port.maxFiles10240 = value;
        port.fnToggleDefaultValue = port.useDirect3DBoost = port.useMacDriver = value;
        port.decorateWindows = true;
        configure(port);
        const char* csmt = value ? "\"CSMT\"=\"enabled\"" : "\"CSMT\"=\"disabled\"";
        EXPECT_NE(key(R"([Software\\Wine\\Direct3D])", "user").find(csmt), std::string::npos);
        EXPECT_EQ(key(R"([Software\\Wine\\Drivers])", "user"),
                  value ? "\"Graphics\"=\"mac\"" : "\"Graphics\"=\"x11\"");
        EXPECT_EQ(key(R"([Software\\Wine\\X11 Driver])", "user"),
                  value ? "" : "\"Decorated\"=\"Y\"\n\"Managed\"=\"Y\"")
            << "of the X11 driver only";
        const auto x11 = property_lists::read(wrapper + layout::x11Plist);
        EXPECT_EQ(x11, Value(Dictionary{{"enable_fake_buttons", value}, {"option_sends_alt", value}}));
        for (const char* name :
             {"Disable CPUs", "force wrapper quartz-wm", "Use XQuartz", "set max files", "IsFnToggleEnabled"})
            EXPECT_EQ(setting(name), Value(value)) << name;
        EXPECT_EQ(get(wrapper + layout::quitScript),
                  value ? "#!/bin/sh\ncaskeryAppChoice=2\n" : "#!/bin/sh\ncaskeryAppChoice=1\n");
        // The settings that came with the wrapper, and those of the stages between, are all still there.
        EXPECT_EQ(setting("CFBundleExecutable"), Value("CaskeryLauncher"));
        EXPECT_EQ(setting("Program Name and Path"), Value("/Game/game.exe"));
        EXPECT_EQ(setting("Try To Use GPU Info"), Value(0));
    }
}

}  // namespace
}  // namespace morvane
