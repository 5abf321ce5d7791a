#include "foundation/build_log.h"

#include "building/building_machine.h"

namespace morvane {
namespace {

using testing::FakeWrapper;

class BuildLogs : public testing::BuildingMachine {
  protected:
    BuildLogs() { putSharedVerbScript(); }
    /// Builds a port; the ending's entry and the reason of a failure.
    std::string build(int expected, FakeWrapper master = {}) {
        master.onPrefixCreate =
            "mkdir -p \"$wrapper/Contents/Resources/drive_c/Game\"\n"
            "echo MZ > \"$wrapper/Contents/Resources/drive_c/Game/game.exe\"\n" +
            master.onPrefixCreate;
        testing::publishMasterWrapper(site, master);
        testing::publishEngines(site, {"CK9Wine3.0"});
        const std::string file =
            cki({{"Engine", "CK9Wine3.0"},
                 {"EXEs", Array{Dictionary{{"name", "Game"}, {"main", "X"}, {"path", "C:/Game/game.exe"}}}}});
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(creation.installCKI(file, wrapper, Trust::no), expected);
        });
        return BuildLog::last()->failure().value_or("");
    }
    std::string newest() { return get(BuildLog::newestFile().value_or("")); }
};

TEST_F(BuildLogs, TellsStagesProgramsAndDownloads) {
    putEngine();
    EXPECT_EQ(build(0, {.onPrefixCreate = "echo 'almost broken' >&2"}), "");
    const std::string log = newest();
    for (const char* entry :
         {"build of ", " stage: Checking Caskery...", " stage ended: Preparing Wrapper... ",
          "/Caskery [CKS-wineprefixcreate]: exit status 0, ", " detail ", "standard error: almost broken",
          "/7za [x] ", " stage: overrides", " stage ended: main program ", " ended: built, ",
          "/Wrapper/Caskery-2.6.2.app.tar.7z"}) {
        EXPECT_NE(log.find(entry), std::string::npos) << entry << "\n" << log;
    }
    // What runs for nobody's build is none of its business.
    EXPECT_EQ(BuildLog::current(), nullptr);
}

TEST_F(BuildLogs, AFailureIsNamedInOneLine) {
    putEngine();
    ui.expect("The Wine Prefix Creation failed!").answer("No");
    const std::string reason =
        build(-1, {.onPrefixCreate = "rm -f \"$wrapper\"/Contents/Resources/system.reg\n"
                                     "printf 'wine: first\\nwine: no \\033[31mdisplay\\n' >&2\nexit 7\n"});
    const std::string path = *BuildLog::newestFile();
    EXPECT_TRUE(
        reason.starts_with("Game was not installed: Preparing Wrapper. "
                           "The Wine Prefix Creation failed! Probably your Master Wrapper is corrupted. Do "
                           "you want to remove it? Caskery: exit status 7, wine: no "))
        << reason;
    EXPECT_TRUE(reason.ends_with("morvane feedback --build-log. Log: " + path)) << reason;
    EXPECT_EQ(reason.find_first_of("\n\033"), std::string::npos);
    EXPECT_NE(get(path).find(" ended: failed, "), std::string::npos);
}

}  // namespace
}  // namespace morvane
