#include "foundation/alerts.h"

#include <semaphore>

#include "support/test_machine.h"

namespace morvane {
namespace {

class Alerts : public testing::TestMachine {};

TEST_F(Alerts, ACancellationThrowsAfterTheAnswer) {
    onWorker([&] {
        ASSERT_TRUE(machine->creation.begin());
        machine->mainQueue.post([&] { machine->creation.request(); });
        ui.expect("Go on?").answer("Yes");
        EXPECT_THROW((void)MVAlert::showBooleanAlertMessage("Go on?", "Warning", true), Cancelled);
        machine->creation.end();
    });
}

TEST_F(Alerts, AClosedQueueAnswersWithTheDefault) {
    machine->mainQueue.close();
    onWorker([&] {
        EXPECT_FALSE(MVAlert::showBooleanAlertMessage("Go on?", "Warning", false));
        EXPECT_EQ(MVAlert::inputDialogWithMessage("Link:", "before"), std::nullopt);
    });
}

TEST_F(Alerts, TheEndOfTheApplicationEndsACreationThatAsksAgainAndAgain) {
    enum { asking, unwound } state = asking;
    std::binary_semaphore begun(0);
    machine->workQueues.start("creation", Priority::normal, [&] {
        ASSERT_TRUE(host().creation.begin());
        begun.release();
        try {
            while (!MVAlert::showBooleanAlertMessage("Enough?", "Warning", false)) continue;
        } catch (const Cancelled&) {
            state = unwound;
        }
        host().creation.end();
        EXPECT_FALSE(host().creation.begin()) << "none begins while the application ends";
    });
    begun.acquire();
    machine.reset();
    EXPECT_EQ(state, unwound);
}

TEST_F(Alerts, TakeTheirIconByName) {
    using Row = std::tuple<std::optional<std::string>, Dialog::Style, Dialog::Icon, std::string>;
    using enum Dialog::Style;
    using enum Dialog::Icon;
    for (const auto& [name, style, icon, path] : std::vector<Row>{
             {std::nullopt, informational, application, ""},
             {"Critical", critical, application, ""},
             {"Fatal", informational, stop, ""},
             {"banner", informational, picture, machine->folders.resources + "/banner.png"},
             {"/pictures/icon", informational, picture, "/pictures/icon"},
         }) {
        ui.expect("Go on?").answer("Yes");
        EXPECT_TRUE(MVAlert::showBooleanAlertMessageWithIconNamed("Go on?", "Error", name, true));
        const Dialog& shown = ui.dialogs.back();
        EXPECT_EQ(Row(name, shown.style, shown.icon, shown.iconPath), Row(name, style, icon, path));
    }
    ui.expect("Like this?").answer("No");
    EXPECT_FALSE(MVAlert::showBooleanAlertMessageWithImageNamed("Like this?", "Help", "sample", true));
    EXPECT_EQ(std::get<ImageAccessory>(ui.dialogs.back().accessory).path,
              machine->folders.resources + "/sample.png");
}

}  // namespace
}  // namespace morvane
