#include "building/needed_resources.h"

#include "building/building_machine.h"

namespace morvane {
namespace {

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
    EXPECT_EQ(window.rows()[0].symbol + window.rows()[0].action, "?Nothing to do");
    EXPECT_EQ(window.rows()[1].title + window.rows()[1].symbol, "Home Folder is Writable✓");
    // Rows in these states, and rows that are not there, do nothing.
    for (std::size_t row : {0U, 1U, 2U}) fix(row);

    reachable = [](const std::string&) { return true; };
    testing::publishMasterWrapper(site);
    reload();
    EXPECT_EQ(window.rows()[0].symbol + window.rows()[0].action, "✕Double-click to Fix");
    {
        const std::string support = home + "/Library/Application Support/Caskery";
        fs::create_directories(support);
        const auto lock = files::Lock::tryLock(support + "/.creation.lock");
        ASSERT_TRUE(lock) << "a running creation";
        ui.expectError("You can't install two wrappers at the same time!");
        fix(0);
        EXPECT_FALSE(exists(masters + "/Caskery-2.6.2.app"));
    }
    fix(0);
    EXPECT_EQ(window.rows()[0].status, NSNeededResourcesWindow::Status::fine);
    EXPECT_EQ(namesIn(masters), Names{"Caskery-2.6.2.app"});
    const auto lines = ui.statusLines();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Updating Caskery..."), lines.end());
    EXPECT_EQ(ui.progress.back().height, 0);
}

TEST_F(NeededResources, ShowsHelpForAHomeFolderThatIsNotWritable) {
    // Nobody may write to a folder that is not there, not even the system's owner.
    fs::rename(home, home + ".away");
    reload();
    fix(1);
    EXPECT_EQ(ui.opened, Names{"file://" + resources + "/home_folder_permissions.html"});
}

}  // namespace
}  // namespace morvane
