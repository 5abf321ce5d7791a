#include "building/new_sandbox.h"

#include "building/building_machine.h"
#include "foundation/settings.h"
#include "wrapper/port_manager.h"

namespace morvane {
namespace {

class NewSandbox : public testing::BuildingMachine {
  protected:
    void bubblewrap(bool works) {
        scriptProgram("bwrap", works ? "exit 0" : "echo 'no namespaces here' >&2; exit 1");
    }
};

TEST_F(NewSandbox, IsTheUsersChoiceOrWhatTheMachineCanMake) {
    struct Row {
        bool works;
        const char* setting;
        Sandbox mode;
    };
    for (const Row& row : {Row{true, nullptr, Sandbox::home}, Row{false, nullptr, Sandbox::off},
                           Row{true, "off", Sandbox::off}, Row{false, "strict", Sandbox::strict},
                           Row{true, "no such word", Sandbox::home}}) {
        bubblewrap(row.works);
        if (row.setting != nullptr) settings::set(settings::newWrapperSandbox, std::string(row.setting));
        const std::string path = home + "/" + std::to_string(static_cast<int>(row.mode)) + ".app";
        testing::makeFakeWrapperAt(path, "CK9Wine8.0");
        EXPECT_TRUE(giveNewSandbox(Wrapper(path)));
        EXPECT_EQ(sandboxIn(*NSPortManager::managerWithPath(path).plist), row.mode);
        fs::remove_all(path);
    }
}

TEST_F(NewSandbox, StaysAsItIsInAWrapperThatHasOne) {
    bubblewrap(true);
    const std::string path = home + "/Game.app";
    testing::makeFakeWrapperAt(path, "CK9Wine8.0");
    NSPortManager port = NSPortManager::managerWithPath(path);
    putSandbox(Sandbox::off, Wrapper(path), *port.plist);
    ASSERT_TRUE(port.synchronizePlist());
    EXPECT_TRUE(giveNewSandbox(Wrapper(path)));
    EXPECT_EQ(sandboxIn(*NSPortManager::managerWithPath(path).plist), Sandbox::off);
}

TEST_F(NewSandbox, AWrapperWhoseSettingsCannotBeSavedIsNotGoneOnWith) {
    bubblewrap(true);
    ui.expectError("The sandbox of " + home + "/None.app could not be saved.");
    EXPECT_FALSE(giveNewSandbox(Wrapper(home + "/None.app")));
}

TEST_F(NewSandbox, IsNewsOnce) {
    bubblewrap(false);
    const auto news = newsOfSandbox();
    ASSERT_TRUE(news);
    EXPECT_NE(news->find("no namespaces here"), std::string::npos) << *news;
    EXPECT_EQ(newsOfSandbox(), std::nullopt);
}

TEST_F(NewSandbox, IsNoNewsToWhoHasChosen) {
    bubblewrap(false);
    settings::set(settings::newWrapperSandbox, std::string("off"));
    EXPECT_EQ(newsOfSandbox(), std::nullopt);
}

}  // namespace
}  // namespace morvane
