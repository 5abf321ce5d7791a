#include "wrapper/sandbox.h"

#include <filesystem>

#include "platform/files.h"
#include "support/test_machine.h"
#include "wrapper/wrapper_settings.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;

class SandboxSettings : public testing::TestMachine {
  protected:
    void SetUp() override {
        for (const char* name : {"/users/me", "/users/Public/Documents"})
            fs::create_directories(drive + name);
        for (const char* name : {"/Docs", "/Music"}) fs::create_directories(home + name);
    }
    Dictionary settings;
    const Wrapper wrapper{home + "/Game.app"};
    const std::string drive = wrapper.driveC();
};

TEST_F(SandboxSettings, AWordThatNobodyKnowsIsTheStrictest) {
    EXPECT_EQ(sandboxIn({}), Sandbox::off);
    const std::pair<const char*, Sandbox> rows[] = {{"off", Sandbox::off},
                                                    {"home", Sandbox::home},
                                                    {"strict", Sandbox::strict},
                                                    {"Home", Sandbox::strict},
                                                    {"", Sandbox::strict}};
    for (const auto& [word, mode] : rows) EXPECT_EQ(sandboxIn({{"Morvane Sandbox", word}}), mode) << word;
    EXPECT_EQ(sandboxIn({{"Morvane Sandbox", 1}}), Sandbox::strict);
}

/// Once there is a sandbox, a program in it may have made the link.
TEST_F(SandboxSettings, LinksAreNotedWhenTheSandboxIsTurnedOn) {
    using Folders = std::vector<std::string>;
    fs::create_symlink(home + "/Docs", drive + "/users/me/Documents");
    fs::create_symlink("../Public/Documents", drive + "/users/me/Inside");
    fs::create_symlink(home + "/None", drive + "/users/me/Nowhere");
    putSandbox(Sandbox::home, wrapper, settings);
    EXPECT_EQ(sharedFolders(settings), Folders{home + "/Docs"});

    fs::create_symlink(home + "/Music", drive + "/users/me/Music");
    putSandbox(Sandbox::strict, wrapper, settings);
    EXPECT_EQ(sandboxIn(settings), Sandbox::strict);
    EXPECT_EQ(sharedFolders(settings), Folders{home + "/Docs"});

    putSandbox(Sandbox::off, wrapper, settings);
    EXPECT_EQ(sharedFolders(settings), Folders{});
    putSandbox(Sandbox::home, wrapper, settings);
    EXPECT_EQ(sharedFolders(settings), (Folders{home + "/Docs", home + "/Music"}));
}

TEST_F(SandboxSettings, AProgramThatMakesNoneIsAnObstacle) {
    EXPECT_EQ(sandboxProgram(programsFolder).error().what, "bubblewrap is not installed");
    scriptProgram("bwrap", "echo first >&2; echo 'no namespaces here' >&2; exit 1");
    const auto forbidden = sandboxProgram(programsFolder);
    ASSERT_FALSE(forbidden);
    EXPECT_NE(forbidden.error().message().find("no namespaces here"), std::string::npos)
        << forbidden.error().message();
    scriptProgram("bwrap", "exit 0");
    EXPECT_EQ(sandboxProgram(programsFolder).value(), programsFolder + "/bwrap");
}

}  // namespace
}  // namespace morvane
