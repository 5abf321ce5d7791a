#include "building/launch_targets.h"
#include "building/configured_wrapper.h"
#include "wrapper/port_manager.h"

namespace morvane {
namespace {

class LaunchTargets : public testing::ConfiguredWrapper {
  protected:
    void save(const std::vector<ExeEntry>& exes) {
        onWorker([&] {
            NSPortManager port = NSPortManager::managerWithPath(wrapper);
            EXPECT_TRUE(saveEXEs(exes, port));
        });
    }
    void alias(const std::string& name) {
        onWorker([&] { createAliasToCustomEXE(wrapper + "/" + name, Wrapper(wrapper)); });
    }
    const std::string applications = home + "/Applications";
};

TEST_F(LaunchTargets, ProgramAndFlagsByDrive) {
    const std::string before = get(wrapper + layout::infoPlist);
    put(driveC + "/Program Files/Found/run.exe", "MZ");
    struct Row {
        const char *path, *program;
        Value flags;
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
             Row{"\"D:/Setup/Übung.exe\" -safe", "/execGame.bat", Value(), 1},
         }) {
        save({program("Game", row.path)});
        EXPECT_EQ(setting("Program Name and Path"), Value(row.program)) << row.path;
        EXPECT_EQ(setting("Program Flags"), row.flags) << row.path;
        EXPECT_EQ(setting("use start.exe"), Value(row.start)) << row.path;
        put(wrapper + layout::infoPlist, before);
    }
    EXPECT_EQ(get(driveC + "/execGame.bat"), "\"D:/Setup/Übung.exe\" -safe");
}

TEST_F(LaunchTargets, WindowsVersionOfTheProgram) {
    struct Row {
        const char *path, *compatibility, *key, *expected;
    };
    const char *xp = "Windows XP", *winxp = "\"Version\"=\"winxp\"";
    for (const Row& row : {
             Row{"C:/Game/game.exe", xp, "game.exe", winxp},
             Row{"C:/Game/game.exe", "Windows of tomorrow", "game.exe", ""},
             Row{"C:/Origin/Origin.exe", xp, "Origin.exe", "\"Version\"=\"win7\""},
             Row{"C:/Uplay/UPLAY.EXE", "", "UPLAY.EXE", "\"Version\"=\"vista\""},
             Row{"C:/Game/game[1].exe", xp, "game\\[1\\].exe", winxp},
             Row{"C:/Château/Château.exe", xp, "Ch\\xe2teau.exe", winxp},
             Row{"C:/Café/Éa.exe", xp, "\\x00c9a.exe", winxp},
             Row{"C:/\U0001F600.exe", xp, "\\xd83d\\xde00.exe", winxp},
         }) {
        ExeEntry exe = program("Game", row.path);
        exe.compatibility = row.compatibility;
        save({exe});
        const std::string header = "[Software\\\\Wine\\\\AppDefaults\\\\" + std::string(row.key) + "]";
        EXPECT_EQ(key(header, "user"), row.expected) << row.path;
        EXPECT_EQ(timesIn("user", header), 1) << row.path;
    }
}

TEST_F(LaunchTargets, TheLinkReplacesLinksIntoTheSameWrapperOnly) {
    put(home + "/target/save.dat", "my game");
    link("/nowhere", applications + "/Dangling.app");
    link("Game.app/Other.app", applications + "/Linked.app");
    link(home + "/target", applications + "/Away.app");
    link(wrapper + "/Gone.app", applications + "/Whole.app");
    link("First.app/Editor.app", applications + "/Editor.app");
    for (const std::string name : {"New.app", "New.app", "Linked.app", "Whole.app"}) {
        alias(name);
        EXPECT_EQ(destination(applications + "/" + name), "Game.app/" + name);
    }
    for (const auto& [name, kept] : {std::pair<std::string, std::string>{"Dangling.app", "/nowhere"},
                                     {"Away.app", home + "/target"},
                                     {"Editor.app", "First.app/Editor.app"}}) {
        alias(name);
        EXPECT_EQ(destination(applications + "/" + name), kept) << "another wrapper's, or the user's";
    }
    EXPECT_EQ(get(home + "/target/save.dat"), "my game");

    put(applications + "/Real.app/save.dat", "my game");
    alias("Real.app");
    alias("Game.app");
    EXPECT_EQ(get(applications + "/Real.app/save.dat"), "my game");
    EXPECT_EQ(files::kindOf(wrapper), files::Kind::folder);
}

}  // namespace
}  // namespace morvane
