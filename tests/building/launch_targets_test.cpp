#include "building/configured_wrapper.h"

namespace morvane {
namespace {

using testing::ConfiguredWrapper;

class LaunchTargets : public ConfiguredWrapper {
  protected:
    static ExeEntry program(const std::string& name, const std::string& path, bool isMain = true) {
        ExeEntry exe;
        exe.name = name;
        exe.path = path;
        exe.isMain = isMain;
        return exe;
    }
    void save(const std::vector<ExeEntry>& exes) {
        onWorker([&] {
            NSPortManager port = NSPortManager::managerWithPath(wrapper);
            EXPECT_TRUE(creation->saveEXEs(exes, port));
        });
    }
    [[nodiscard]] std::string versionKey(const std::string& name) const {
        return key("[Software\\\\Wine\\\\AppDefaults\\\\" + name + "]", "user");
    }
};

TEST_F(LaunchTargets, ProgramAndFlagsByDrive) {
    put(driveC + "/Program Files/Found/run.exe", "MZ");
    struct Row {
        const char *path, *program, *flags;
        int start;
    };
    for (const Row& row : {
             Row{"C:/Program Files/Game/game.exe", "/Program Files/Game/game.exe", "", 0},
             Row{"\"C:/Game/GAME.EXE\" -w \"a b\"", "/Game/GAME.EXE", "-w \"a b\"", 0},
             Row{"c:\\Game\\run.bat", "/Game/run.bat", "", 1},
             Row{"C:/Game/\r\ngame.exe", "/Game/game.exe", "", 0},
             Row{"\"C:/Program Files/Steam/steam.exe\" -silent", "/Program Files/Steam/steam.exe",
                 "-no-dwrite -no-cef-sandbox -silent", 0},
             Row{"\"C:/Steam/Steam.exe\" -No-Dwrite", "/Steam/Steam.exe", "-no-cef-sandbox -No-Dwrite", 0},
             Row{"C:/*/Found/run.exe", "/Program Files/Found/run.exe", "", 0},
             Row{"C:/*/Missing/run.exe", "/*/Missing/run.exe", "", 0},
         }) {
        save({program("Game", row.path)});
        EXPECT_EQ(setting("Program Name and Path"), Value(row.program)) << row.path;
        EXPECT_EQ(setting("Program Flags"), Value(row.flags)) << row.path;
        EXPECT_EQ(setting("use start.exe"), Value(row.start)) << row.path;
    }
}

TEST_F(LaunchTargets, AProgramOnAnotherDriveIsStartedByABatchFile) {
    save({program("Game", "\"D:/Setup/run.exe\" -safe")});
    EXPECT_EQ(setting("Program Name and Path"), Value("/execGame.bat"));
    EXPECT_EQ(setting("use start.exe"), Value(1));
    EXPECT_TRUE(setting("Program Flags").isNull());
    EXPECT_EQ(get(driveC + "/execGame.bat"), "\"D:/Setup/run.exe\" -safe");
}

TEST_F(LaunchTargets, AnUnknownProgramIsChosen) {
    ui.expectChoice("Select the EXE of Game", {driveC + "/Game/chosen.exe"});
    save({program("Game", "C:/nothing.exe")});
    EXPECT_EQ(setting("Program Name and Path"), Value("/Game/chosen.exe"));
    const OpenPanel& panel = ui.openPanels.back();
    EXPECT_EQ(panel.startFolder, driveC + "/");
    EXPECT_TRUE(panel.packagesAsFolders);
    EXPECT_EQ(panel.types, (std::vector<std::string>{"exe", "EXE", "bat", "BAT", "msi", "MSI"}));
    ui.expectChoice("Select the EXE of Game", {});
    save({program("Game", "C:/nothing.exe")});
    EXPECT_EQ(setting("Program Name and Path"), Value("/nothing.exe"));
}

TEST_F(LaunchTargets, WindowsVersionOfTheProgram) {
    struct Row {
        const char *path, *compatibility, *key, *expected;
    };
    for (const Row& row : {
             Row{"C:/Game/game.exe", "Windows XP", "game.exe", "\"Version\"=\"winxp\""},
             Row{"C:/Game/game.exe", "Windows of tomorrow", "game.exe", ""},
             Row{"C:/Origin/Origin.exe", "Windows XP", "Origin.exe", "\"Version\"=\"win7\""},
             Row{"C:/Uplay/UPLAY.EXE", "", "UPLAY.EXE", "\"Version\"=\"vista\""},
             Row{"C:/Game/game[1].exe", "Windows XP", "game\\[1\\].exe", "\"Version\"=\"winxp\""},
             Row{"C:/Château/Château.exe", "Windows XP", "Ch\\xe2teau.exe", "\"Version\"=\"winxp\""},
             Row{"C:/Café/Éa.exe", "Windows XP", "\\x00c9a.exe", "\"Version\"=\"winxp\""},
             Row{"C:/\U0001F600.exe", "Windows XP", "\\xd83d\\xde00.exe", "\"Version\"=\"winxp\""},
         }) {
        ExeEntry exe = program("Game", row.path);
        exe.compatibility = row.compatibility;
        save({exe});
        EXPECT_EQ(versionKey(row.key), row.expected) << row.path;
        EXPECT_EQ(timesIn("user", "[Software\\\\Wine\\\\AppDefaults\\\\" + std::string(row.key) + "]"), 1)
            << row.path;
    }
}

TEST_F(LaunchTargets, ScreenOptions) {
    struct Row {
        int automatic;
        bool fullscreen;
        int desktop;
        const char *resolution, *colours;
        int randr;
        bool expectedFullscreen;
        const char* expected;
    };
    for (const Row& row : {
             Row{1, true, 1, "1024x768", "16 bits", 1, false, "novdx15sleep0"},
             Row{0, true, 0, "1024x768", "256 colors", 0, true, "novdx8sleep0"},
             Row{0, false, 1, "1024x768", "32 bits", 0, false, "1024x768x24sleep0"},
             Row{0, true, 2, "640x480", "", 0, true, "640x480x24sleep0"},
         }) {
        ExeEntry exe = program("Game", "C:/game.exe");
        exe.automatic = row.automatic;
        exe.fullscreen = row.fullscreen;
        exe.virtualdesktop = row.desktop;
        exe.resolution = row.resolution;
        exe.colours = row.colours;
        save({exe});
        const Value fullscreen = setting("Fullscreen");
        EXPECT_EQ(setting("Use RandR"), Value(row.randr)) << row.expected;
        EXPECT_EQ(isFlagSet(&fullscreen), row.expectedFullscreen) << row.expected;
        EXPECT_EQ(setting("Resolution"), Value(row.expected));
    }
}

TEST_F(LaunchTargets, EveryOtherProgramGetsALauncherBesideTheWrapper) {
    ExeEntry editor = program("Editor", "\"C:/Game/editor.exe\" -e", false);
    editor.version = "1.2";
    save({program("Game", "C:/Game/game.exe"), editor});
    EXPECT_EQ(setting("CFBundleName"), Value("Game"));
    EXPECT_EQ(setting("CFBundleIdentifier"), Value("Game.Caskery.prefs"));
    EXPECT_EQ(setting("Program Name and Path"), Value("/Game/game.exe"));
    EXPECT_EQ(setting("Program Name and Path", "Editor.app"), Value("/Game/editor.exe"));
    EXPECT_EQ(setting("Program Flags", "Editor.app"), Value("-e"));
    EXPECT_EQ(setting("CFBundleShortVersionString", "Editor.app"), Value("1.2"));
    EXPECT_TRUE(setting("CFBundleName", "Editor.app").isNull());
    EXPECT_TRUE(exists(wrapper + "/Editor.app/Contents/MacOS/CustomEXE"));
    EXPECT_EQ(destination(home + "/Applications/Editor.app"), "Game.app/Editor.app");
}

TEST_F(LaunchTargets, AMainProgramWithoutANameIsCalledAsTheWrapper) {
    save({program("", "C:/Game/game.exe")});
    EXPECT_EQ(setting("Program Name and Path"), Value("/Game/game.exe"));
    EXPECT_EQ(setting("CFBundleName"), Value("Game"));
    EXPECT_EQ(setting("CFBundleIdentifier"), Value("Game.Caskery.prefs"));
}

TEST_F(LaunchTargets, TheLinkReplacesLinksOnly) {
    const std::string applications = home + "/Applications";
    const auto alias = [&](const std::string& name) {
        onWorker([&] { WrapperCreation::createAliasToCustomEXE(wrapper + "/" + name, wrapper); });
    };
    link("/nowhere", applications + "/Editor.app");
    alias("Editor.app");
    EXPECT_EQ(destination(applications + "/Editor.app"), "Game.app/Editor.app");
    alias("Editor.app");
    EXPECT_EQ(destination(applications + "/Editor.app"), "Game.app/Editor.app");

    link("Game.app/Other.app", applications + "/Linked.app");
    put(home + "/target/save.dat", "my game");
    link(home + "/target", applications + "/Away.app");
    alias("Away.app");
    EXPECT_EQ(destination(applications + "/Away.app"), "Game.app/Away.app");
    EXPECT_EQ(get(home + "/target/save.dat"), "my game");

    put(applications + "/Real.app/save.dat", "my game");
    alias("Real.app");
    alias("Game.app");
    EXPECT_EQ(get(applications + "/Real.app/save.dat"), "my game");
    EXPECT_EQ(files::kindOf(wrapper), files::Kind::folder);
}

TEST_F(LaunchTargets, HostileEntriesAreRefusedAndTheRestGoesOn) {
    const std::vector<ExeEntry> hostile{
        program("", "C:/game.exe", false),
        program("../Evil", "C:/game.exe", false),
        program("Contents/Resources/Evil", "C:/game.exe", false),
        program("Caskery", "C:/game.exe", false),
        program("Ev\nil", "C:/game.exe", false),
        program(std::string("Ev\0il", 5), "C:/game.exe", false),
        program("Up", "C:/../../Evil.exe", false),
        program("Down", "C:\\a\\..\\..\\Evil.exe", false),
        program("Line", "C:/a.exe\x1b[Software]", false),
        program("../../Batch", "D:/run.exe", true),
    };
    for (std::size_t entry = 0; entry < hostile.size(); ++entry) ui.expectError("\"");
    auto exes = hostile;
    exes.push_back(program("Editor", "C:/editor.exe", false));
    save(exes);
    EXPECT_EQ(listing(home + "/Applications"), (std::vector<std::string>{"Editor.app", "Game.app"}));
    EXPECT_EQ(listing(wrapper), (std::vector<std::string>{"Caskery.app", "Contents", "Editor.app"}));
    EXPECT_EQ(setting("Program Name and Path"), Value("/nothing.exe"));
    EXPECT_EQ(listing(driveC), std::vector<std::string>{"windows"});
    EXPECT_EQ(timesIn("user", "[Software]"), 0);
}

}  // namespace
}  // namespace morvane
