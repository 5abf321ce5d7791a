#include "wrapper/launch_check.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "foundation/settings.h"
#include "platform/property_list.h"
#include "support/test_machine.h"
#include "support/windows_file.h"
#include "wrapper/layout.h"

namespace morvane {
namespace {

using testing::windowsFile;

class LaunchCheck : public testing::TestMachine {
  protected:
    std::string of(const std::string& program) {
        EXPECT_TRUE(property_lists::write(wrapper + layout::infoPlist,
                                          Dictionary{{"Program Name and Path", program}}));
        const auto checked = checkLaunch(wrapper);
        return checked ? "" : checked.error().message();
    }
    const std::string wrapper = home + "/Game.app";
    const std::string drive = wrapper + layout::driveC;
};

TEST_F(LaunchCheck, RefusesBeforeAnythingStarts) {
    put(wrapper + layout::infoPlist, "");
    EXPECT_TRUE(of("/a.exe").starts_with("This wrapper holds no engine"));
    put(wrapper + layout::engineVersion, "CK9Wine8.0");
    EXPECT_TRUE(of("/a.exe").starts_with("This wrapper has no Windows drive yet"));
    put(wrapper + layout::systemRegistry, "");
    put(drive + "/windows/system32/ntdll.dll", windowsFile(0x8664, true));
    std::filesystem::create_directories(wrapper + layout::dosdevices);
    std::filesystem::create_symlink("../drive_d", wrapper + layout::dosdevices + std::string("/d:"));
    put(wrapper + "/Contents/Resources/drive_d/old.exe", windowsFile(0x014c, false));
    put(drive + "/Games/Run.exe", windowsFile(0x8664, true));
    put(drive + "/phone.exe", windowsFile(0xaa64, true));
    put(drive + "/execOld.bat", "\"D:/old.exe\" -safe");
    put(drive + "/execLost.bat", "\"E:/old.exe\" ");
    const struct {
        const char *program, *problem;
    } rows[] = {
        {"/Games/Run.exe", ""},
        {"/games/run.EXE", ""},
        {"", "No program is set"},
        {"/none.exe", "The main EXE of the port is missing!"},
        {"/phone.exe", "/phone.exe is an ARM64 program"},
        {"/execOld.bat", "/old.exe is a 32-bit program"},
        {"/execLost.bat", ""},
    };
    for (const auto& row : rows) {
        const std::string problem = of(row.program);
        EXPECT_EQ(problem.empty(), *row.problem == 0) << row.program << problem;
        EXPECT_NE(problem.find(row.problem), std::string::npos) << row.program << problem;
    }
    EXPECT_TRUE(property_lists::write(
        wrapper + layout::infoPlist,
        Dictionary{{"Program Name and Path", "/Games/Run.exe"}, {"Morvane Command Before", "overlay -x"}}));
    const auto checked = checkLaunch(wrapper);
    ASSERT_FALSE(checked);
    EXPECT_TRUE(
        checked.error().message().starts_with("The command before the program, overlay, is not there."));
    scriptProgram("overlay", "exec \"$@\"");
    EXPECT_TRUE(checkLaunch(wrapper));

    EXPECT_TRUE(property_lists::write(
        wrapper + layout::infoPlist,
        Dictionary{{"Program Name and Path", "/Games/Run.exe"}, {"Morvane Sandbox", "home"}}));
    scriptProgram("bwrap", "exit 1");
    Host::Options options{.folders = machine->folders, .searchPath = programsFolder};
    machine.reset();
    machine = std::make_unique<Host>(std::move(options), ui);
    ASSERT_FALSE(checkLaunch(wrapper));
    EXPECT_NE(checkLaunch(wrapper).error().message().find("This system forbids sandboxes"),
              std::string::npos);
    settings::set(settings::runWithoutSandbox, true);
    EXPECT_TRUE(checkLaunch(wrapper));
}

}  // namespace
}  // namespace morvane
