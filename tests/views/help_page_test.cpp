// The help tab through what a user does in it.

#include "views/help_page.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>
#include <QPushButton>
#include <QToolButton>

#include "foundation/progress_view.h"
#include "support/loopback_site.h"
#include "views/page_walk.h"

namespace morvane::views {
namespace {

using ::testing::HasSubstr;
using testing::named;
using testing::shows;

class HelpPages : public testing::ViewsMachine, public ShellView {
  public:
    HelpPages() {
        machine->sites.catalogue = site.baseAddress();
        scriptProgram("system_profiler", "echo 'Processor Name: Fast One'");
        app = std::make_unique<AppDelegate>(*this, std::make_shared<NSProgressView>());
        page = std::make_unique<HelpPage>(*app, nullptr);
        page->resize(1000, 700);
        page->show();
    }
    ~HelpPages() override {
        page.reset();
        app.reset();
    }
    void type(const char* field, const char* text) {
        auto* line = named<QWidget>(*page, field);
        line->setFocus();
        QTest::keyClicks(line, text);
    }
    QPushButton* button(const char* name) { return named<QPushButton>(*page, name); }
    /// Sent, and the outcome was told.
    void send() {
        const std::size_t told = ui.dialogs.size();
        button("Send")->click();
        runUntil([&] { return ui.dialogs.size() > told && !app->helpTab().isSending(); });
    }

    testing::LoopbackSite site;
    std::unique_ptr<AppDelegate> app;
    std::unique_ptr<HelpPage> page;
};

TEST_F(HelpPages, SendWhatWasTypedAndKeepIt) {
    // What is missing is told in order, and nothing is sent.
    ui.expectError("We gonna contact you by mail");
    send();
    type("Your mail address", "anna@example.com");
    ui.expectError("We need to call you something");
    send();
    EXPECT_TRUE(site.requests().empty());

    type("Your name", "Anna");
    type("Subject", "Tetris & sound");
    type("Description", "There is no sound at all.");
    site.answer("/en/send_form_email.php", {.body = "<!-- Success -->Thanks"});
    ui.expect("Message sent with success!");
    button("Send")->click();
    EXPECT_FALSE(button("Sending…")->isEnabled());
    runUntil([&] { return !app->helpTab().isSending(); });
    EXPECT_TRUE(button("Send")->isEnabled());
    ASSERT_EQ(site.requests().size(), 1U);
    EXPECT_THAT(site.requests()[0], HasSubstr("subject=Tetris%20%26%20sound"));
    EXPECT_EQ(named<QLineEdit>(*page, "Subject")->text(), "Tetris & sound");
}

TEST_F(HelpPages, DescribeTheComputerAndOpenWhatHelps) {
    runUntil([&] { return button("Copy")->isEnabled(); });
    button("Copy")->click();
    const QString copied = QApplication::clipboard()->text();
    EXPECT_TRUE(copied.contains("Morvane Version: ")) << copied.toStdString();
    EXPECT_TRUE(copied.contains("\nProcessor: Fast One")) << copied.toStdString();
    button("Open the folder of the logs")->click();
    button("Open the catalogue in the browser")->click();
    EXPECT_EQ(ui.opened, (std::vector<std::string>{NSHelpTab::logFolder(), site.baseAddress()}));
}

TEST_F(HelpPages, GoWhileTheirWorkGoesOn) {
    scriptProgram("system_profiler", "sleep 1");
    auto other = std::make_unique<HelpPage>(*app, nullptr);
    other->show();
    other.reset();
    runUntil([&] { return button("Copy")->isEnabled(); });
}

}  // namespace
}  // namespace morvane::views
