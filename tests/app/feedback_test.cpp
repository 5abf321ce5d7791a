#include "app/crash_reports.h"
#include "app/help_tab.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "library/mail_form.h"
#include "platform/files.h"
#include "platform/property_list.h"
#include "support/loopback_site.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

class Feedback : public testing::TestMachine {
  protected:
    Feedback() {
        machine->sites.catalogue = site.baseAddress();
        site.answer(page, {.body = "<!-- Success -->ok"});
        for (const char* name : {"vulkaninfo", "glxinfo"}) scriptProgram(name, "exit 1");
        scriptProgram("system_profiler", R"end(echo x >> "$0.log"
case $1 in
SPDisplaysDataType) printf '    Card:\n      Chipset Model: Big & Fast\n      VRAM (Total): 2 GB\n' ;;
SPHardwareDataType) printf '      Processor Name: Core i5\n      Processor Speed: 2 GHz\n'
    printf '      Memory: 8 GB\n      Serial Number (system): %s\n' "$(cat "$0.serial" 2>/dev/null)" ;;
esac)end");
    }
    /// The value of a field of the last post, unescaped.
    [[nodiscard]] std::string posted(const std::string& field) const {
        const auto requests = site.requests();
        const std::string body = requests.empty() ? "" : MVString::split(requests.back(), "\n").back();
        for (const std::string& pair : MVString::split(body, "&")) {
            if (!pair.starts_with(field + "=")) continue;
            std::string text;
            for (std::size_t at = field.size() + 1; at < pair.size(); ++at) {
                const bool escape = pair[at] == '%';
                text += escape ? static_cast<char>(std::stoi(pair.substr(at + 1, 2), nullptr, 16)) : pair[at];
                if (escape) at += 2;
            }
            return text;
        }
        return "(none)";
    }

    testing::LoopbackSite site;
    const std::string page = "/en/send_form_email.php";
    const std::string reports = home + "/Library/Logs/DiagnosticReports/";
    NSHelpTab tab;
};

TEST_F(Feedback, TheFormIsCheckedFieldByField) {
    struct Row {
        const char *mail, *name, *subject, *text, *message;
    };
    const Row rows[] = {
        {" \t", "", "", "", "We gonna contact you by mail"},
        {"a@b", "  ", "", "", "We need to call you something"},
        {"a@b", "Ann", " Hey ", "", "The subject is used to give a brief explanation"},
        {"a@b", "Ann", "äöü", "", "The subject is used to give a brief explanation"},
        {"a@b", "Ann", "Help", " 14 characters  ", "The description area is to provide"},
    };
    for (const Row& row : rows) {
        tab.form = {.name = row.name, .mail = row.mail, .subject = row.subject, .description = row.text};
        ui.expectError(row.message);
        EXPECT_FALSE(tab.sendMail()) << row.message;
    }
    EXPECT_TRUE(site.requests().empty());
    reachable = [](const std::string&) { return false; };
    ui.expectError("Couldn't load 127.0.0.1 website.");
    EXPECT_FALSE(tab.sendMail());
}

TEST_F(Feedback, AMessageIsPostedAsTyped) {
    tab.form = {.name = " Ann ", .mail = "a@b", .subject = "Help", .description = "It does\nnot work & more"};
    ui.expect("Message sent with success!").titleIs("Morvane");
    EXPECT_TRUE(tab.sendMail());
    EXPECT_EQ(posted("name"), " Ann ");
    EXPECT_EQ(posted("email"), "a@b");
    EXPECT_EQ(posted("subject"), "Help");
    EXPECT_EQ(posted("comment"), "<br>It does\nnot work & more");

    tab.form.addsComputerDescription = true;
    ui.expect("Message sent with success!");
    EXPECT_TRUE(tab.sendMail());
    const std::string comment = posted("comment");
    EXPECT_TRUE(
        comment.starts_with("<br>It does\nnot work & more<br><br><br><b>COMPUTER DESCRIPTION:</b><br>"
                            "<b>Morvane Version: </b>" +
                            applicationVersion() + "<br><b>Processor: </b>Core i5 2 GHz<br>" +
                            "<b>Video Card: </b>Big & Fast (2 GB)<br><b>RAM Memory: </b>8 GB<br>"))
        << comment;
    EXPECT_TRUE(comment.ends_with("available)<br>")) << comment << "\nof a system that tells nothing";
    const StyledText plain = tab.computerSpecificationsInHTML(InHTML::no);
    EXPECT_EQ(plain.runs.size(), 10U);
    EXPECT_TRUE(plain.runs[2].bold && !plain.runs[3].bold && plain.text.starts_with("Morvane Version: "));
}

TEST_F(Feedback, AnswersOfTheMailPage) {
    struct Row {
        testing::SiteAnswer answer;
        const char* message;
    };
    const Row rows[] = {
        {{.body = "<b>Sorry</b>,<br>no &amp; no"}, "Sorry,\nno & no"},
        {{.body = ""}, "An unknown error happened while sending the mail!"},
        {{.status = 500, .body = "<!-- Success -->"}, "An unknown error happened while sending the mail!"},
        {{.body = "<br>"}, "An unknown error happened while sending the mail!"},
    };
    for (const Row& row : rows) {
        site.answer(page, row.answer);
        ui.expectError(row.message);
        EXPECT_FALSE(mail_form::sendMailWithPostString("name=x")) << row.message;
    }
}

TEST_F(Feedback, TheLastCrashReportIsSentOnce) {
    // The search tells nobody that it has ended.
    machine->mainQueue.every(std::chrono::milliseconds(1), [] {});
    const auto look = [&] {
        crash_reports::lookForCrashLogs();
        machine->mainQueue.runUntil([&] { return !machine->workQueues.busy(); });
    };
    look();
    put(reports + "Morvane_2017-01-01.crash", "old");
    put(reports + "Morvane_2017-02-01.crash", "Process: Morvane\nVersion: 3.0.12 (312)\nmore");
    put(reports + "Other_2017-03-01.crash", "other");
    reachable = [](const std::string&) { return false; };
    look();
    reachable = [](const std::string&) { return true; };
    settings::store(settings::automaticallySendCrashLogs, Value(0));
    look();
    EXPECT_TRUE(site.requests().empty());

    settings::store(settings::automaticallySendCrashLogs, std::nullopt);
    site.answer(page, {.status = 500});
    ui.expectInput("Crash Log").defaultIs("OK").type("I played");
    look();
    EXPECT_EQ(posted("name"), "Anonymous User");
    EXPECT_EQ(posted("email"), "no-reply@127.0.0.1");
    EXPECT_EQ(posted("subject"), "Crash Log 3.0.12 (312)");
    EXPECT_EQ(posted("comment"), "\nMorvane Version: " + applicationVersion() +
                                     "\nDetails: I played\n\nProcess: Morvane\nVersion: 3.0.12 (312)\nmore");
    look();
    EXPECT_EQ(site.requests().size(), 1U);

    put(reports + "Morvane_2017-04-01.crash", "\xff\xfe");
    ui.expectInput("Crash Log").answer("Cancel");
    look();
    EXPECT_EQ(posted("comment"), "\nMorvane Version: " + applicationVersion() + "\n\n");
    EXPECT_EQ(settings::stored(settings::lastFoundCrashLog), Value("Morvane_2017-04-01.crash"));
}

TEST_F(Feedback, TheModelIsWrittenDownOrAskedFor) {
    const std::string plist = home + "/Library/Preferences/com.apple.SystemProfiler.plist";
    site.answer("/sp/product", {.body = "<root><configCode>Big Mac</configCode></root>"});
    struct Row {
        Dictionary names;
        const char* serial;
        std::optional<std::string> model;
        bool serviceKnown = true;
    };
    const Row rows[] = {
        {{{"a", "MacBook"}, {"b", "iMac (21-inch)"}, {"c", "Mac Pro"}}, "", "iMac (21-inch)"},
        {{}, "C02ABCDEXYZ", "Big Mac"},
        {{}, "C02ABCDE", std::nullopt},
        {{}, "C02ABCDEXYZ", std::nullopt, false},
    };
    for (const Row& row : rows) {
        put(plist, property_lists::xml(Dictionary{{"CPU Names", row.names}}));
        put(programsFolder + "/system_profiler.serial", row.serial);
        machine->sites.modelNames = row.serviceKnown ? site.baseAddress() : "";
        EXPECT_EQ(NSHelpTab().determinateMacCompleteModel(), row.model) << row.serial;
    }
    EXPECT_EQ(site.requests(), std::vector<std::string>{"GET /sp/product?cc=XYZ"});
}

}  // namespace
}  // namespace morvane
