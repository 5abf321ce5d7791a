#include <gtest/gtest.h>

#include "platform/property_list.h"
#include "runtime/launch.h"
#include "runtime/screen.h"
#include "runtime/wrapper_bundle.h"
#include "support/test_machine.h"

namespace morvane::runtime {
namespace {

using testing::TemporaryFolder;
using testing::TestMachine;
using Desktop = ScreenMode::Desktop;

class Bundle : public ::testing::Test {
  protected:
    Bundle() : wrapper(folder.path + "/My \"Game\" & Co.app") {
        for (const char* program :
             {"/Contents/Frameworks/bin/Caskery", "/Contents/MacOS/CaskeryLauncher",
              "/Caskery.app/Contents/MacOS/Caskery", "/Editor.app/Contents/MacOS/CustomEXE"}) {
            TestMachine::put(wrapper + program, "", true);
        }
    }
    WrapperBundle around(const std::string& program) const {
        auto bundle = WrapperBundle::around(wrapper + program);
        EXPECT_TRUE(bundle) << program;
        return *bundle;
    }
    void settings(const std::string& file, Dictionary values) const {
        ASSERT_TRUE(property_lists::write(wrapper + file, std::move(values)));
    }
    TemporaryFolder folder;
    const std::string wrapper;
};

TEST_F(Bundle, IsFoundFromEachOfItsPrograms) {
    const struct {
        const char *program, *application;
        Role role;
    } rows[] = {
        {"/Contents/Frameworks/bin/Caskery", "", Role::tool},
        {"/Contents/MacOS/CaskeryLauncher", "", Role::tool},
        {"/Caskery.app/Contents/MacOS/Caskery", "", Role::settingsTool},
        {"/Editor.app/Contents/MacOS/CustomEXE", "/Editor.app", Role::customExe},
    };
    for (const auto& row : rows) {
        const WrapperBundle bundle = around(row.program);
        EXPECT_EQ(bundle.wrapper.path(), wrapper) << row.program;
        EXPECT_EQ(bundle.application, wrapper + row.application) << row.program;
        EXPECT_EQ(bundle.role, row.role) << row.program;
    }
    EXPECT_FALSE(WrapperBundle::around("/usr/bin/caskery"));
}

TEST_F(Bundle, ACustomExeHasItsOwnProgramAndTheWrappersLimits) {
    settings("/Contents/Info.plist", {{"Program Name and Path", "/main.exe"},
                                      {"Disable CPUs", true},
                                      {"set max files", 1},
                                      {"Associations", "SAV  map"}});
    settings("/Editor.app/Contents/Info.plist.cexe", {{"Program Name and Path", "/editor.exe"},
                                                      {"Program Flags", "-a"},
                                                      {"use start.exe", 1},
                                                      {"Fullscreen", false},
                                                      {"Disable CPUs", false},
                                                      {"Resolution", "640x480x24sleep0"}});
    const auto result = launchSettingsOf(around("/Editor.app/Contents/MacOS/CustomEXE"));
    ASSERT_TRUE(result);
    const auto& launch = *result;
    EXPECT_EQ(launch.program, "/editor.exe");
    EXPECT_EQ(launch.flags, "-a");
    EXPECT_TRUE(launch.useStart);
    EXPECT_TRUE(launch.singleCpu);
    EXPECT_TRUE(launch.manyFiles);
    EXPECT_EQ(launch.screen, (ScreenMode{Desktop::fixed, 640, 480}));
    EXPECT_EQ(launch.associations, (std::vector<std::string>{"sav", "map"}));
}

TEST_F(Bundle, TwoWrappersNameTheirServersDifferently) {
    WrapperBundle other = around("/Contents/MacOS/CaskeryLauncher");
    const std::string name = other.serverName();
    EXPECT_TRUE(name.ends_with("Wineserver"));
    EXPECT_GT(name, "CaskeryWineserver");  // the last name in the listing is the one that a stop kills
    other.wrapper = Wrapper(other.wrapper.path() + "2");
    EXPECT_NE(other.serverName(), name);
}

}  // namespace
}  // namespace morvane::runtime
