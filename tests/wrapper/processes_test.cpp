#include "wrapper/processes.h"

#include <filesystem>

#include "foundation/file_manager.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/own_process.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using NSUtilities::terminateAllCaskeryProcessesForWrapper;
using NSUtilities::terminateAllCaskeryProcessesForWrapperNow;

/// Every stopping program is a script that logs its arguments; nothing is ever stopped.
class Termination : public testing::TestMachine {
  protected:
    void SetUp() override {
        for (const std::string name : {"killall", "kill", "ps", "launchctl"}) {
            const std::string listing =
                name == "ps" || name == "launchctl" ? "\n[ \"$1\" = remove ] || cat \"$0.list\"" : "";
            scriptProgram(name, "echo \"" + name + " $*\" >> \"" + log + "\"" + listing);
            put(programsFolder + "/" + name + ".list", "");
            // A real killall here would stop the wines of the machine.
            ASSERT_EQ(MVTask::getPathOfProgram(name), programsFolder + "/" + name);
        }
        put(log, "");
    }
    std::string terminate(const std::optional<std::string>& path,
                          RemovingWrapper removing = RemovingWrapper::no) {
        put(log, "");
        onWorker([&] { terminateAllCaskeryProcessesForWrapperNow(path, removing); });
        return get(log);
    }

    const std::string log = folder.path + "/log";
    const std::string wrapper = home + "/Applications/My game.app";
    const std::string names = "killall -9 wine\nkillall -9 wineserver\n";
};

TEST_F(Termination, FollowsTheWholeOrder) {
    const std::string bin = wrapper + "/Contents/Frameworks/ckwine.bundle/bin/";
    for (const char* name : {"FirstWine", "deep/LastWine", "zzWineserver", "wine64", "z/-uWine"})
        put(bin + name, "");
    std::string listing = "  PID TTY STAT TIME COMMAND\n  142 ?   Sl 0:01 C:\\wine\\other.exe\n";
    for (const std::string& number :
         {std::string("41"), std::string("1"), std::string("-1"), std::string("0"), std::string("243"),
          processes::ownLine()[0], processes::ownLine()[1]}) {
        listing += "  " + number + " ?   Sl 0:01 x " + wrapper + "/Contents/MacOS/CaskeryLauncher\n";
    }
    put(programsFolder + "/ps.list", listing);
    put(programsFolder + "/launchctl.list",
        "PID\tStatus\tLabel\n"
        "-\t0\t[0x0-0x1].app.My game.app.77 \n"
        "-\t0\tother.app\n"
        "12\t0\tcom.My game.app\n"
        "-\tMy game.app\n");
    const std::string lockName = MVString::replacedAll(wrapper, "/", "xCKx");
    const std::string lock = folder.path + "/tmp/" + lockName;
    put(lock + "/lockfile", "");

    EXPECT_EQ(terminate(wrapper),
              "killall -9 LastWine\nkillall -9 zzWineserver\nps ax\nkill -9 41\nkill -9 243\n"
              "launchctl list\nlaunchctl remove [0x0-0x1].app.My game.app.77\n"
              "launchctl remove My game.app\n");
    EXPECT_FALSE(MVFileManager::fileExistsAtPath(lock));
    EXPECT_TRUE(MVFileManager::fileExistsAtPath(wrapper));
}

TEST_F(Termination, WithoutAWrapperSelectsEveryLineThatSaysWine) {
    put(programsFolder + "/ps.list",
        "41 ? S 0:01 C:\\a.exe\n42 ? S 0:01 /opt/WINE/server\n43 ? S 0:01 winedevice\n");
    EXPECT_EQ(terminate(std::nullopt), names + "ps ax\nkill -9 42\nkill -9 43\n");
}

TEST_F(Termination, RemovesOnlyAWrapperThatWasThere) {
    put(programsFolder + "/ps.list", "41 ? S 0:01 " + wrapper + "/a\n");
    EXPECT_EQ(terminate(wrapper, RemovingWrapper::yes), names + "ps ax\nkill -9 41\nlaunchctl list\n");

    put(wrapper + "/Contents/Info.plist", "");
    put(home + "/saved", "kept");
    std::filesystem::create_symlink(home, wrapper + "/link");
    terminate(wrapper, RemovingWrapper::yes);
    EXPECT_FALSE(MVFileManager::fileExistsAtPath(wrapper));
    EXPECT_EQ(get(home + "/saved"), "kept");
}

TEST_F(Termination, RefusesPathsThatAreEverybodys) {
    put(home + "/saved", "kept");
    put(programsFolder + "/ps.list", "41 ? S 0:01 " + home + "/Applications/a\n");
    std::filesystem::create_directory_symlink(home, folder.path + "/link.app");
    for (const std::string& path :
         {std::string(), std::string("/"), std::string("//"), std::string("Game.app"), home, home + "/",
          folder.path, home + "/Applications/..", folder.path + "/link.app"}) {
        EXPECT_EQ(terminate(path, RemovingWrapper::yes), "") << path;
    }
    EXPECT_EQ(get(home + "/saved"), "kept");
}

TEST_F(Termination, ALinkInThePlaceOfTheLockIsNotFollowed) {
    const std::string lockName = MVString::replacedAll(wrapper, "/", "xCKx");
    put(home + "/foreign/lockfile", "kept");
    std::filesystem::create_symlink(home + "/foreign", folder.path + "/tmp/" + lockName);
    terminate(wrapper);
    EXPECT_EQ(get(home + "/foreign/lockfile"), "kept");
}

}  // namespace
}  // namespace morvane
