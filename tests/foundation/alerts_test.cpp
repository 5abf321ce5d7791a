#include "foundation/alerts.h"

#include <semaphore>

#include "support/test_machine.h"

namespace morvane {
namespace {

class Alerts : public testing::TestMachine {};

TEST_F(Alerts, TheDefaultAnswerIsTheFirstButton) {
    for (const bool defaultAnswer : {true, false}) {
        for (const bool pressed : {true, false}) {
            ui.expect("Sure? %@").defaultIs(defaultAnswer ? "Yes" : "No").answer(pressed ? "Yes" : "No");
            EXPECT_EQ(MVAlert::showBooleanAlertMessage("Sure? %@", "Warning", defaultAnswer), pressed);
        }
        EXPECT_EQ(MVAlert::showBooleanAlertMessage("Never shown", std::nullopt, defaultAnswer),
                  !defaultAnswer);
    }
}

TEST_F(Alerts, AnswerAWorkerFromTheMainThread) {
    onWorker([&] {
        ui.expectInput("Link:").type("http://a").defaultIs("OK");
        EXPECT_EQ(MVAlert::inputDialogWithMessage("Link:", "before"), "http://a");
        ui.expectInput("Link:").type("typed").answer("Cancel");
        EXPECT_EQ(MVAlert::inputDialogWithMessage("Link:", ""), std::nullopt);
        put(home + "/a", "");
        put(home + "/b", "");
        ui.expectChoice("Select", {home + "/a", home + "/b"});
        OpenPanel panel;
        panel.title = "Select";
        EXPECT_EQ(MVAlert::chooseFiles(panel), (std::vector<std::string>{home + "/a", home + "/b"}));
    });
    EXPECT_EQ(std::get<TextField>(ui.dialogs.front().accessory).text, "before");
    EXPECT_TRUE(ui.dialogs.front().text.empty());
}

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

}  // namespace
}  // namespace morvane
