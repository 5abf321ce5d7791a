#include "building/needed_resources.h"

#include "building/building_machine.h"

namespace morvane {
namespace {

using Status = NSNeededResourcesWindow::Status;

class NeededResources : public testing::BuildingMachine {
  protected:
    void reload() {
        onWorker([&] { window.reloadContents(); });
    }
    void fix(std::size_t row) {
        onWorker([&] { window.fixRow(row); });
    }
    NSNeededResourcesWindow window{progress};
};

TEST_F(NeededResources, FixesTheMasterWrapper) {
    offline();
    reload();
    ASSERT_EQ(window.rows().size(), 2U);
    EXPECT_EQ(window.rows()[0].title, "Caskery Master Wrapper is Updated");
    EXPECT_EQ(window.rows()[0].symbol, "?");
    EXPECT_EQ(window.rows()[0].action, "Nothing to do");
    EXPECT_EQ(window.rows()[1].title, "Home Folder is Writable");
    EXPECT_EQ(window.rows()[1].symbol, "✓");
    // Rows in these states, and rows that are not there, do nothing.
    fix(0);
    fix(1);
    fix(2);

    reachable = [](const std::string&) { return true; };
    testing::publishMasterWrapper(site);
    reload();
    EXPECT_EQ(window.rows()[0].symbol, "✕");
    EXPECT_EQ(window.rows()[0].action, "Double-click to Fix");
    fix(0);
    EXPECT_EQ(window.rows()[0].status, Status::fine);
    EXPECT_EQ(namesIn(masters), std::vector<std::string>{"Caskery-2.6.2.app"});
    const auto lines = ui.statusLines();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Updating Caskery..."), lines.end());
    EXPECT_EQ(ui.progress.back().height, 0);
}

TEST_F(NeededResources, KeepsOutOfARunningCreation) {
    testing::publishMasterWrapper(site);
    reload();
    const std::string support = home + "/Library/Application Support/Caskery";
    std::filesystem::create_directories(support);
    const auto lock = files::Lock::tryLock(support + "/.creation.lock");
    ASSERT_TRUE(lock);
    ui.expectError("You can't install two wrappers at the same time!");
    fix(0);
    EXPECT_FALSE(exists(masters + "/Caskery-2.6.2.app"));
}

TEST_F(NeededResources, ShowsHelpForAHomeFolderThatIsNotWritable) {
    // Nobody may write to a folder that is not there, not even the system's owner.
    std::filesystem::rename(home, home + ".away");
    reload();
    EXPECT_EQ(window.rows()[1].status, Status::missing);
    fix(1);
    EXPECT_EQ(ui.opened, std::vector<std::string>{"file://" + resources + "/home_folder_permissions.html"});
}

}  // namespace
}  // namespace morvane
