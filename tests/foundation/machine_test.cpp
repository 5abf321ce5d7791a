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
};

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
