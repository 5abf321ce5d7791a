#include <filesystem>

#include "foundation/computer_information.h"
#include "foundation/network.h"
#include "foundation/progress_view.h"
#include "support/loopback_site.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

class Machine : public testing::TestMachine {
  public:
    void systemVersion(const std::string& version) {
        put(folder.path + "/root/System/Library/CoreServices/SystemVersion.plist",
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>ProductVersion</key><string>" +
                version + "</string></dict></plist>");
    }
    void displays(const std::string& report) {
        scriptProgram(
            "system_profiler",
            "echo \"$*\" >> $0.log\n[ \"$*\" = SPDisplaysDataType ] && cat <<'END'\n" + report + "\nEND");
    }
};

TEST_F(Machine, TheAdapterOnTheFastestBusCounts) {
    displays(R"(Graphics/Displays:

    Intel HD Graphics 4000:

      Chipset Model: Intel HD Graphics 4000
      Bus: Built-In
      VRAM (Dynamic, Max): 1536 MB
      Displays:
        Color LCD:
          Resolution: 2880 x 1800
    Other:
      Chipset Model: Other
      Bus: PCI
    AMD Radeon R9 M370X:

      Chipset Model: AMD Radeon R9 M370X
      Bus: PCIe
      VRAM (Total): 2 GB)");
    EXPECT_EQ(NSComputerInformation::graphicCardModel(), "AMD Radeon R9 M370X");
    EXPECT_EQ(NSComputerInformation::graphicCardType(), "ATi/AMD");
    EXPECT_EQ(NSComputerInformation::graphicCardMemorySize(), "2 GB");
    EXPECT_EQ(NSComputerInformation::graphicCardDictionary().size(), 3U);
    EXPECT_EQ(get(programsFolder + "/system_profiler.log"), "SPDisplaysDataType\n") << "read once";
}

TEST_F(Machine, AMachineWithoutAdapterHasNoValues) {
    displays("nothing here");
    EXPECT_TRUE(NSComputerInformation::graphicCardDictionary().empty());
    EXPECT_EQ(NSComputerInformation::graphicCardModel(), std::nullopt);
    EXPECT_EQ(NSComputerInformation::graphicCardType(), std::nullopt);
    EXPECT_EQ(NSComputerInformation::graphicCardMemorySize(), std::nullopt);
}

class CardFamily : public Machine,
                   public ::testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(CardFamily, FollowsTheModel) {
    displays("    Card:\n      Chipset Model: " + std::string(GetParam().first) +
             "\n      VRAM (Dynamic, Max): 1536 MB");
    EXPECT_EQ(NSComputerInformation::graphicCardType(), GetParam().second);
    EXPECT_EQ(NSComputerInformation::graphicCardMemorySize(), "1536 MB");
}

INSTANTIATE_TEST_SUITE_P(Models, CardFamily,
                         ::testing::Values(std::pair{"Intel Iris Pro", "Intel Iris"},
                                           std::pair{"Intel HD Graphics 530", "Intel HD"},
                                           std::pair{"NVIDIA GeForce GT 750M", "NVIDIA"},
                                           std::pair{"ATI Rage", "ATi/AMD"},
                                           std::pair{"Intel UHD Graphics 630", "INTEL UHD GRAPHICS 630"}));

class SystemVersion : public Machine,
                      public ::testing::WithParamInterface<std::tuple<const char*, const char*, bool>> {};

TEST_P(SystemVersion, ComparesAsNumbers) {
    const auto& [ours, wanted, enough] = GetParam();
    systemVersion(ours);
    EXPECT_EQ(NSComputerInformation::macOsVersion(), ours);
    EXPECT_EQ(NSComputerInformation::isSystemMacOsEqualOrSuperiorTo(wanted), enough);
}

INSTANTIATE_TEST_SUITE_P(
    Versions, SystemVersion,
    ::testing::Values(std::tuple{"10.13.6", "10.11", true}, std::tuple{"11.0", "10.10", true},
                      std::tuple{"10.9", "10.10", false}, std::tuple{"10.10", "10.10", true},
                      std::tuple{"10.10", "10.10.1", false}, std::tuple{"10.9.5", "10.10", false}));

TEST_F(Machine, AMissingSystemVersionIsEmpty) {
    EXPECT_EQ(NSComputerInformation::macOsVersion(), "");
    EXPECT_FALSE(NSComputerInformation::isSystemMacOsEqualOrSuperiorTo("10.8"));
}

TEST_F(Machine, NotificationsAreForTheMainThread) {
    systemVersion("10.8");
    NSUtilities::showNotificationMessage("Installed successfully", "Game", "/Game.app",
                                         ImageData{"png", 1, 1});
    EXPECT_TRUE(ui.notifications.empty());
    machine->mainQueue.drain();
    ASSERT_EQ(ui.notifications.size(), 1U);
    EXPECT_EQ(ui.notifications[0].title, "Game");
    EXPECT_EQ(ui.notifications[0].message, "Installed successfully");
    EXPECT_EQ(ui.notifications[0].info, "/Game.app");
    EXPECT_EQ(ui.notifications[0].actionTitle, "Play");
    EXPECT_FALSE(ui.notifications[0].image);
}

TEST_F(Machine, FunctionKeysAndLibraryLayoutAreSettings) {
    scriptProgram("defaults", "[ \"$*\" = 'read -g com.apple.keyboard.fnState -bool' ] && echo 1");
    EXPECT_TRUE(NSUtilities::isUsingFnKeysFunctions());
    scriptProgram("defaults", "echo 0");
    EXPECT_FALSE(NSUtilities::isUsingFnKeysFunctions());
    EXPECT_FALSE(NSUtilities::isUsingClassicLibraryLayout());
    machine->defaults.set("Use old Library", Value("YES"));
    EXPECT_TRUE(NSUtilities::isUsingClassicLibraryLayout());
}

TEST_F(Machine, ChecksumsAreTheToolsOwn) {
    put(home + "/a file", "abc");
    EXPECT_EQ(NSUtilities::getFileSHA1CheckSum(home + "/a file"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(NSUtilities::getFileSHA1CheckSum(home + "/missing"), "");
}

TEST_F(Machine, FormsArePostedAndAnswered) {
    testing::LoopbackSite site;
    const std::string address = site.baseAddress();
    site.answer("/ok", {.body = "réponse"});
    site.answer("/created", {.status = 299, .body = "yes"});
    site.answer("/empty", {});
    site.answer("/binary", {.body = "\xFF"});
    site.answer("/wrong", {.status = 500, .body = "no"});
    site.answer("/gone", {.body = "", .drop = true});
    EXPECT_EQ(NSUtilities::launchURLWithPostValues(address + "ok", {{"b", "1 & 2?"}, {"a", "é"}}), "réponse");
    EXPECT_EQ(NSUtilities::launchURL(address + "created", "é=日"), "yes");
    EXPECT_EQ(site.requests(),
              (std::vector<std::string>{"POST /ok\nb=1%20%26%202%3F&a=%C3%A9", "POST /created\n?=?"}));
    for (const char* page : {"empty", "binary", "wrong", "not-there"}) {
        EXPECT_EQ(NSUtilities::launchURL(address + page, ""), std::nullopt) << page;
    }
    EXPECT_NE(NSUtilities::launchURL(address + "gone", "").value_or(""), "");

    EXPECT_EQ(NSUtilities::stringWithContentsOfURL(address + "wrong"), "no") << "whatever the status";
    EXPECT_EQ(NSUtilities::stringWithContentsOfURL(address + "binary"), std::nullopt);
    EXPECT_EQ(NSUtilities::stringWithContentsOfURL(address + "gone"), std::nullopt);
    EXPECT_TRUE(NSUtilities::isWebsiteOfUrlAvailable(address));
    EXPECT_FALSE(NSUtilities::isWebsiteOfUrlAvailable("http://offline.invalid/x"));
    EXPECT_FALSE(NSUtilities::isWebsiteOfUrlAvailable("no address"));
}

TEST_F(Machine, OthersDoNotDisturbThePanelOfACreation) {
    NSProgressView panel;
    EXPECT_TRUE(panel.showCreatingPort(CreatingPort::no));
    EXPECT_TRUE(panel.setMessage("Downloading", CreatingPort::no));
    panel.setCurrentValue(2000);
    EXPECT_TRUE(panel.closeCreatingPort(CreatingPort::no));
    panel.setIsCreatingWrapper(true);
    EXPECT_FALSE(panel.showCreatingPort(CreatingPort::no));
    EXPECT_FALSE(panel.setMessage("Other", CreatingPort::no));
    EXPECT_FALSE(panel.setSubtitle("Other", CreatingPort::no));
    EXPECT_FALSE(panel.closeCreatingPort(CreatingPort::no));
    EXPECT_TRUE(panel.showCreatingPort(CreatingPort::yes));
    EXPECT_TRUE(panel.setSubtitle("Mine", CreatingPort::yes));
    EXPECT_TRUE(panel.closeCreatingPort(CreatingPort::yes));
    EXPECT_TRUE(ui.progress.empty());
    machine->mainQueue.drain();
    ASSERT_EQ(ui.progress.size(), 8U);
    EXPECT_EQ(ui.progress[0].height, 111);
    EXPECT_TRUE(ui.progress[0].indeterminate);
    EXPECT_EQ(ui.progress[2].value, 1000);
    EXPECT_FALSE(ui.progress[2].indeterminate);
    EXPECT_EQ(ui.progress[3].height, 0);
    EXPECT_EQ(ui.progress[7].height, 111) << "a creation's panel stays open";
    EXPECT_EQ(ui.progress[7].status, "Downloading");
    EXPECT_EQ(ui.progress[7].subtitle, "Mine");
}

}  // namespace
}  // namespace morvane
