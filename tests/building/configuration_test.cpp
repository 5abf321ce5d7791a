#include <algorithm>

#include "building/configured_wrapper.h"
#include "platform/cancellation.h"

namespace morvane {
namespace {

using testing::ConfiguredWrapper;

class ConfigureWrapper : public ConfiguredWrapper {
  protected:
    /// The status lines of one configuration.
    std::vector<std::string> configure(const NSPortData& port) {
        ui.progress.clear();
        onWorker([&] { EXPECT_TRUE(creation->configureWrapperAt(wrapper, port)); });
        auto lines = ui.statusLines();
        // The panel opens with what it showed last.
        lines.erase(lines.begin(), std::find(lines.begin(), lines.end(), "Configuring Data..."));
        return lines;
    }
    static ExeEntry mainProgram(const std::string& path) {
        ExeEntry exe;
        exe.name = "Game";
        exe.isMain = true;
        exe.path = path;
        return exe;
    }
};

using Lines = std::vector<std::string>;

Lines joined(std::initializer_list<Lines> parts) {
    Lines lines;
    for (const Lines& part : parts) lines.insert(lines.end(), part.begin(), part.end());
    return lines;
}

TEST_F(ConfigureWrapper, ShowsEveryStageInItsOrder) {
    const Lines beginning{"Configuring Data...", "Configuring Drives...",
                          "Configuring Associated Extensions...", "Updating Winetricks List...",
                          "Installing winetricks..."};
    const Lines overrides{"Overriding registries...", "Setting video memory size manually...",
                          "Cleaning Auto-Run apps list..."};
    const Lines programs{"Configuring EXEs..."};
    const Lines extras{"Downloading Extras..."};
    const std::string installer = home + "/Downloads/setup.exe";
    const Lines game{"Requesting Installer...", "Running " + installer + "..."};
    const Lines winetricks{"Installing winetricks..."};
    const Lines ending{"Saving FnToogle default value..."};
    put(installer, "MZ");
    put(driveC + "/Game/game.exe", "MZ");

    NSPortData known;
    known.exes = {mainProgram("C:/Game/game.exe")};
    NSPortData later = known;
    later.exes = {mainProgram("C:/*/game.exe")};
    NSPortData withInstaller = later;
    withInstaller.originalInstallerNeeded = true;
    withInstaller.originalInstallerName = "setup.exe";
    NSPortData withVerbsAfter = known;
    withVerbsAfter.winetricks = {"vcrun2010", "Install App", "corefonts"};
    NSPortData markerLast = known;
    markerLast.winetricks = {"vcrun2010", "Install App"};
    NSPortData galaxy = withInstaller;
    galaxy.isGogGalaxy = true;

    struct Row {
        const char* name;
        const NSPortData& port;
        Lines expected;
    };
    for (const Row& row : {
             Row{"known programs", known,
                 joined({beginning, overrides, programs, extras, winetricks, ending})},
             Row{"programs found later", later,
                 joined({beginning, overrides, extras, programs, winetricks, ending})},
             Row{"with an installer", withInstaller,
                 joined({beginning, overrides, extras, game, extras, programs, winetricks, ending})},
             Row{"verbs after the game", withVerbsAfter,
                 joined({beginning, programs, extras, winetricks, overrides, ending})},
             Row{"nothing after the marker", markerLast,
                 joined({beginning, overrides, programs, extras, winetricks, ending})},
             Row{"GOG Galaxy", galaxy, joined({beginning, overrides, programs, winetricks, ending})},
         }) {
        EXPECT_EQ(configure(row.port), row.expected) << row.name;
    }
    EXPECT_EQ(asked(), "CKS-installer " + installer + "\n") << "only the port with an installer runs it";
}

TEST_F(ConfigureWrapper, WritesEverySettingOfThePort) {
    put(driveC + "/Game/game.exe", "MZ");
    for (const bool value : {true, false}) {
        NSPortData port;
        port.exes = {mainProgram("C:/Game/game.exe")};
        port.emulateThreeButtonsMouse = port.optionKeyWorksAsAlt = port.closePortNicely = value;
        port.singleCpuMode = port.decorateWindowWithQuartz = port.useXQuartz = port.maxFiles10240 = value;
        port.fnToggleDefaultValue = port.useDirect3DBoost = value;
        configure(port);
        const auto x11 = property_lists::read(wrapper + layout::x11Plist);
        ASSERT_TRUE(x11);
        EXPECT_EQ(*x11, Value(Dictionary{{"enable_fake_buttons", value}, {"option_sends_alt", value}}));
        for (const char* key : {"Disable CPUs", "force wrapper quartz-wm", "Use XQuartz", "set max files",
                                "IsFnToggleEnabled"}) {
            EXPECT_EQ(setting(key), Value(value)) << key;
        }
        EXPECT_EQ(get(wrapper + layout::quitScript),
                  value ? "#!/bin/sh\ncaskeryAppChoice=2\n" : "#!/bin/sh\ncaskeryAppChoice=1\n");
        // The settings that came with the wrapper, and those of the stages between, are all still there.
        EXPECT_EQ(setting("CFBundleExecutable"), Value("CaskeryLauncher"));
        EXPECT_EQ(setting("Program Name and Path"), Value("/Game/game.exe"));
        EXPECT_EQ(setting("Try To Use GPU Info"), Value(0));
    }
}

TEST_F(ConfigureWrapper, DecoratesWindowsOfTheX11DriverOnly) {
    put(driveC + "/Game/game.exe", "MZ");
    const char* x11Driver = R"([Software\\Wine\\X11 Driver])";
    NSPortData port;
    port.exes = {mainProgram("C:/Game/game.exe")};
    port.useMacDriver = port.decorateWindows = true;
    configure(port);
    EXPECT_EQ(key(x11Driver, "user"), "");
    EXPECT_EQ(key(R"([Software\\Wine\\Drivers])", "user"), "\"Graphics\"=\"mac\"");
    port.useMacDriver = false;
    configure(port);
    EXPECT_EQ(key(x11Driver, "user"), "\"Decorated\"=\"Y\"\n\"Managed\"=\"Y\"");
    EXPECT_EQ(key(R"([Software\\Wine\\Drivers])", "user"), "\"Graphics\"=\"x11\"");
}

TEST_F(ConfigureWrapper, NotifiesWhenTheMainProgramIsThere) {
    NSPortData port;
    port.exes = {mainProgram("C:/Program Files/Game/game.exe")};
    ui.expect("Game main EXE couldn't be found!").titleIs("Warning");
    configure(port);
    EXPECT_TRUE(ui.notifications.empty());

    put(driveC + "/Program Files (x86)/Game/game.exe", "MZ");
    configure(port);
    ASSERT_EQ(ui.notifications.size(), 1u);
    EXPECT_EQ(ui.notifications[0].title, "Game");
    EXPECT_EQ(ui.notifications[0].message, "Installed successfully");
    EXPECT_EQ(ui.notifications[0].info, wrapper);
    ASSERT_TRUE(ui.notifications[0].image);
    EXPECT_EQ(ui.notifications[0].image->bytes, "icns");
    EXPECT_EQ(setting("Program Name and Path"), Value("/Program Files (x86)/Game/game.exe"));
    EXPECT_EQ(setting("CFBundleName"), Value("Game")) << "the corrected path is written by the same store";
}

TEST_F(ConfigureWrapper, StopsBetweenStagesWhenCancelled) {
    NSPortData port;
    port.exes = {mainProgram("C:/*/game.exe")};
    port.originalInstallerNeeded = true;
    port.originalInstallerName = "setup.exe";
    put(home + "/Downloads/setup.exe", "MZ");
    onWorker([&] {
        ASSERT_TRUE(host().creation.begin());
        host().creation.request();
        EXPECT_THROW(creation->configureWrapperAt(wrapper, port), Cancelled);
        host().creation.end();
    });
    EXPECT_EQ(asked(), "");
    EXPECT_TRUE(ui.notifications.empty());
}

TEST_F(ConfigureWrapper, PutsTheApplicationsBannerIntoTheWrapper) {
    const std::string banner = wrapper + "/Caskery.app/Contents/Resources/CaskeryBanner.jpg";
    Host::Options options{.folders = machine->folders, .sites = {}, .searchPath = "", .reachability = {}};
    options.folders.resources = folder.path + "/resources";
    machine.reset();
    machine = std::make_unique<Host>(std::move(options), ui);
    onWorker([&] { EXPECT_TRUE(WrapperCreation::addHollinBannerAtFile(wrapper)); });
    EXPECT_EQ(get(banner), "jpg") << "an application without a banner leaves the wrapper's";
    put(folder.path + "/resources/CaskeryBanner.jpg", "the application's");
    onWorker([&] { EXPECT_TRUE(WrapperCreation::addHollinBannerAtFile(wrapper)); });
    EXPECT_EQ(get(banner), "the application's");
}

}  // namespace
}  // namespace morvane
