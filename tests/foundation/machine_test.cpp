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
    void forget() const {
        MutexLock lock(machine->hardware.mutex);
        machine->hardware.value = {};
    }
    void systemVersion(const std::string& version) {
        forget();
        put(folder.path + "/root/System/Library/CoreServices/SystemVersion.plist",
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>ProductVersion</key><string>" +
                version + "</string></dict></plist>");
    }
    void displays(const std::string& report) {
        forget();
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

TEST_F(Machine, WhatDrawsIsToldByItsOwnPrograms) {
    scriptProgram("vulkaninfo", "exit 1");
    scriptProgram("glxinfo", "echo 'Error: unable to open display'; exit 255");
    EXPECT_EQ(NSComputerInformation::vulkanRenderer(), std::nullopt);
    EXPECT_EQ(NSComputerInformation::openGlRenderer(), std::nullopt);
    scriptProgram("vulkaninfo", R"([ "$*" = --summary ] && cat <<'END'
Vulkan Instance Version: 1.3.239
Devices:
========
GPU0:
	apiVersion         = 4206822 (1.3.230)
	driverVersion      = 92286982 (0x5802c06)
	deviceName         = AMD Radeon RX 580
	driverName         = radv
	driverInfo         = Mesa 22.3.6
END)");
    scriptProgram("glxinfo", R"([ "$*" = -B ] && cat <<'END'
name of display: :0
OpenGL vendor string: Mesa
OpenGL renderer string: llvmpipe (LLVM 15.0.6)
OpenGL core profile version string: 4.5 (Core Profile)
OpenGL version string: 4.5 (Compatibility Profile) Mesa 22.3.6
END)");
    EXPECT_EQ(NSComputerInformation::vulkanRenderer(),
              "AMD Radeon RX 580, radv, Mesa 22.3.6, version 1.3.230");
    EXPECT_EQ(NSComputerInformation::openGlRenderer(),
              "llvmpipe (LLVM 15.0.6), Mesa, version 4.5 (Compatibility Profile) Mesa 22.3.6");
}

TEST_F(Machine, TheFamilyFollowsTheModel) {
    displays("nothing here");
    EXPECT_EQ(NSComputerInformation::graphicCardType(), std::nullopt);
    EXPECT_EQ(NSComputerInformation::graphicCardMemorySize(), std::nullopt);
    const std::pair<const char*, const char*> rows[] = {{"Intel Iris Pro", "Intel Iris"},
                                                        {"Intel HD Graphics 530", "Intel HD"},
                                                        {"NVIDIA GeForce GT 750M", "NVIDIA"},
                                                        {"ATI Rage", "ATi/AMD"},
                                                        {"Intel UHD Graphics 630", "INTEL UHD GRAPHICS 630"}};
    for (const auto& [model, family] : rows) {
        displays("    Card:\n      Chipset Model: " + std::string(model) +
                 "\n      VRAM (Dynamic, Max): 1536 MB");
        EXPECT_EQ(NSComputerInformation::graphicCardType(), family);
        EXPECT_EQ(NSComputerInformation::graphicCardMemorySize(), "1536 MB");
    }
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
    EXPECT_TRUE(NSUtilities::safeDataWithContentsOfURL(address + "binary"));
    EXPECT_EQ(NSUtilities::stringWithContentsOfURL(address + "gone"), std::nullopt);
    EXPECT_EQ(NSUtilities::safeDataWithContentsOfURL(address + "gone"), std::nullopt);
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
    EXPECT_FALSE(panel.showCreatingPort(CreatingPort::no) || panel.setMessage("Other", CreatingPort::no) ||
                 panel.setSubtitle("Other", CreatingPort::no) || panel.closeCreatingPort(CreatingPort::no));
    EXPECT_TRUE(panel.showCreatingPort(CreatingPort::yes));
    EXPECT_TRUE(panel.setSubtitle("Mine", CreatingPort::yes));
    EXPECT_TRUE(panel.closeCreatingPort(CreatingPort::yes));
    EXPECT_TRUE(ui.progress.empty());
    machine->mainQueue.drain();
    ASSERT_EQ(ui.progress.size(), 8U);
    EXPECT_TRUE(ui.progress[0].height == 111 && ui.progress[0].indeterminate);
    EXPECT_TRUE(ui.progress[2].value == 1000 && !ui.progress[2].indeterminate);
    EXPECT_EQ(ui.progress[3].height, 0);
    EXPECT_EQ(ui.progress[7].height, 111) << "a creation's panel stays open";
    EXPECT_EQ(ui.progress[7].status + "|" + ui.progress[7].subtitle, "Downloading|Mine");
}

TEST_F(Machine, SystemVersionsCompareAsNumbers) {
    EXPECT_EQ(NSComputerInformation::macOsVersion(), "") << "missing";
    const std::tuple<const char*, const char*, bool> rows[] = {
        {"10.13.6", "10.11", true}, {"11.0", "10.10", true},     {"10.9", "10.10", false},
        {"10.10", "10.10", true},   {"10.10", "10.10.1", false}, {"10.9.5", "10.10", false}};
    for (const auto& [ours, wanted, enough] : rows) {
        systemVersion(ours);
        EXPECT_EQ(NSComputerInformation::isSystemMacOsEqualOrSuperiorTo(wanted), enough)
            << ours << " " << wanted;
    }
}

}  // namespace
}  // namespace morvane
