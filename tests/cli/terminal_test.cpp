#include <gtest/gtest.h>

#include "cli/answers.h"
#include "cli/console.h"
#include "cli/terminal_interface.h"
#include "foundation/text.h"
#include "support/test_machine.h"

namespace morvane::cli {
namespace {

TEST(Answers, AreUsedInTheOrderOfTheirTitles) {
    Answers answers;
    ASSERT_TRUE(answers.addAnswer("Warning=Yes"));
    ASSERT_TRUE(answers.addAnswer("Error=No"));
    ASSERT_TRUE(answers.addAnswer("Warning=No"));
    ASSERT_TRUE(answers.addAnswer("Paste here=OK:http://a/b=c"));
    ASSERT_TRUE(answers.addChoice("Select the installer=/tmp/a=b.exe"));
    EXPECT_FALSE(answers.addAnswer("no equals sign"));
    EXPECT_FALSE(answers.addAnswer("=Yes"));

    const std::vector<std::string> yesNo{"Yes", "No"};
    EXPECT_FALSE(answers.takeAnswer("Warning", {"Cancel", "Install it anyway"}));
    EXPECT_EQ(answers.takeAnswer("Warning", yesNo)->button, "Yes");
    EXPECT_EQ(answers.takeAnswer("Warning", yesNo)->button, "No");
    EXPECT_FALSE(answers.takeAnswer("Warning", yesNo));
    EXPECT_EQ(answers.takeAnswer("Paste here", {"OK", "Cancel"})->text, "http://a/b=c");
    EXPECT_EQ(answers.takeChoice("Select the installer"), "/tmp/a=b.exe");
    EXPECT_FALSE(answers.takeChoice("Select the installer"));
}

class Terminal : public morvane::testing::TestMachine {
  protected:
    // Standard input is no terminal in the tests: a question without an answer ends the command.
    Console console{Output::json};
    Answers answers;
    TerminalInterface terminal{console, answers};

    static Dialog question() {
        Dialog dialog;
        dialog.title = "Warning";
        dialog.text = "Really?";
        dialog.buttons = {"No", "Yes"};
        return dialog;
    }
};

TEST_F(Terminal, DefaultsThatLeadBackEndTheCommand) {
    answers.defaults = true;
    Dialog other = question(), third = question();
    other.text = "Sure?";
    third.text = "Once more?";
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(terminal.showDialog(question()).button, 0U);
        EXPECT_EQ(terminal.showDialog(other).button, 0U);
    }
    EXPECT_EQ(terminal.showDialog(third).button, 0U) << "something new: it goes on";
    EXPECT_EQ(terminal.showDialog(question()).button, 0U);
    EXPECT_EQ(terminal.showDialog(question()).button, 0U);
    EXPECT_THROW(static_cast<void>(terminal.showDialog(question())), Unanswered);
}

TEST_F(Terminal, AnswersFromTheCommandLineThenByDefaults) {
    ASSERT_TRUE(answers.addAnswer("Warning=Yes"));
    EXPECT_EQ(terminal.showDialog(question()).button, 1U);
    EXPECT_THROW(terminal.showDialog(question()), Unanswered);
    EXPECT_EQ(terminal.unanswered(),
              "Warning: Really? [No] [Yes]\n    --answer 'Warning=No' or --answer 'Warning=Yes'");
    answers.defaults = true;
    EXPECT_EQ(terminal.showDialog(question()).button, 0U);
}

TEST_F(Terminal, AChoiceIsAnsweredByItsText) {
    Dialog dialog = question();
    dialog.accessory = ChoiceBox{.options = {"Game (sr0)", "Other (sr1)"}, .chosen = 1};
    const std::pair<const char*, std::size_t> rows[] = {
        {"Warning=Yes:Game (sr0)", 0}, {"Warning=Yes:2", 1}, {"Warning=Yes", 1}};
    for (const auto& [option, chosen] : rows) {
        ASSERT_TRUE(answers.addAnswer(option));
        const DialogAnswer answer = terminal.showDialog(dialog);
        EXPECT_EQ(answer.button, 1U);
        EXPECT_EQ(answer.chosen, chosen) << option;
    }
    ASSERT_TRUE(answers.addAnswer("Warning=Yes:Third"));
    EXPECT_THROW(terminal.showDialog(dialog), Unanswered);
    answers.defaults = true;
    EXPECT_EQ(terminal.showDialog(dialog).chosen, 1U);
}

TEST_F(Terminal, AnUnansweredQuestionCancelsTheRunningCreation) {
    ASSERT_TRUE(machine->creation.begin());
    EXPECT_EQ(terminal.showDialog(question()).button, 0U);
    EXPECT_TRUE(machine->creation.requested());
    EXPECT_TRUE(terminal.unanswered());
}

TEST_F(Terminal, AButtonThatDoesNotExistIsNoAnswer) {
    ASSERT_TRUE(answers.addAnswer("Warning=Perhaps"));
    EXPECT_THROW(terminal.showDialog(question()), Unanswered);
}

TEST_F(Terminal, FilePanelsTakePathsAndExpandHomes) {
    ASSERT_TRUE(answers.addChoice("Select=~/a.exe"));
    ASSERT_TRUE(answers.addChoice("Select="));
    OpenPanel panel;
    panel.title = "Select";
    EXPECT_EQ(terminal.knownChoice(panel), "") << "there is no such file";
    EXPECT_EQ(terminal.chooseFiles(panel), std::vector<std::string>{home + "/a.exe"});
    EXPECT_TRUE(terminal.chooseFiles(panel).empty());

    answers.addChoices("Select", {"/a", "/b"});
    answers.addChoices("Select", {"/a", "/b"});
    EXPECT_EQ(terminal.chooseFiles(panel), std::vector<std::string>{"/a"});
    panel.multiple = true;
    EXPECT_EQ(terminal.chooseFiles(panel), (std::vector<std::string>{"/a", "/b"}));

    answers.addChoice("Create Port at...", "/a/b/../Game");
    SavePanel save;
    save.title = "Create Port at...";
    save.types = {"app"};
    std::size_t changed = 0;
    Form form{
        .fields = {
            {.label = "Source",
             .options = {"Steam", "GOG"},
             .chosen = 0,
             .changed = [&](std::size_t chosen) { changed = chosen; }},
            {.kind = FormField::Kind::checkBox, .label = "Uplay", .options = {}, .chosen = 0, .changed = {}},
            {.label = "Engine", .options = {"A", "B"}, .chosen = 1, .changed = {}}}};
    save.accessory = &form;
    answers.addAnswer("Source", {"GOG", {}});
    answers.addAnswer("Uplay", {"Yes", {}});
    EXPECT_EQ(terminal.chooseSavePath(save), "/a/Game.app");
    EXPECT_EQ(changed, 1U);
    EXPECT_EQ(form.fields[1].chosen, 1U);
    EXPECT_EQ(form.fields[2].chosen, 1U);
    EXPECT_EQ(expandedPath("~"), home);
}

/// A port's questions: two of one title, of which one may not be asked this time, and a file.
class Foreseen : public Terminal {
  protected:
    static ForeseenQuestion dialog(const char* title, std::vector<std::string> buttons, const char* answer) {
        Dialog shown;
        shown.title = title;
        shown.text = "Text";
        shown.buttons = std::move(buttons);
        return {.shown = shown, .answer = answer, .othersEnd = true};
    }
    [[nodiscard]] std::vector<ForeseenQuestion> questions(bool requirementsAreAsked) const {
        OpenPanel panel;
        panel.title = "Select the installer";
        panel.types = {"exe"};
        auto requirements = dialog("Warning", {"Yes", "No"}, "Yes");
        requirements.isAsked = requirementsAreAsked;
        ForeseenQuestion installer{.shown = panel, .answer = "setup.exe"};
        installer.branches = {{"", {dialog("Warning", {"No", "Yes"}, "Yes")}}};
        return {dialog("License Agreement", {"I Agree", "I Disagree"}, "I Agree"),
                dialog("Warning", {"Cancel", "Install it anyway"}, "Install it anyway"), requirements,
                installer};
    }
};

TEST_F(Foreseen, IsCheckedBeforeAnythingIsMade) {
    put(home + "/setup.exe", "MZ");
    put(home + "/notes.txt", "text");
    const struct {
        const char* name;
        std::vector<std::string> answers, choices;
        std::string missing;  ///< the options that would answer, "|" between
        bool refused = false;
    } rows[] = {
        {"nothing is given",
         {},
         {},
         "License Agreement|Warning=Install it anyway|Warning=Yes|Select the installer"},
        {"all is given, one of another order",
         {"Warning=Yes", "Warning=Install it anyway", "License Agreement=I Agree"},
         {"Select the installer=~/setup.exe"},
         ""},
        {"an answer that ends it needs no more", {"License Agreement=I Disagree"}, {}, ""},
        {"a panel is cancelled: its question follows",
         {"License Agreement=I Agree", "Warning=Install", "Warning=Yes"},
         {"Select the installer="},
         "Warning=Yes"},
        {"a file that is not there",
         {"License Agreement=I Agree", "Warning=Install", "Warning=Yes"},
         {"Select the installer=~/missing.exe"},
         "",
         true},
        {"a file of another kind",
         {"License Agreement=I Agree", "Warning=Install", "Warning=Yes"},
         {"Select the installer=~/notes.txt"},
         "",
         true},
    };
    for (const auto& row : rows) {
        Answers given;
        for (const std::string& each : row.answers) ASSERT_TRUE(given.addAnswer(each));
        for (const std::string& each : row.choices) ASSERT_TRUE(given.addChoice(each));
        const auto shortcoming = given.shortcomingFor(questions(true));
        EXPECT_EQ(shortcoming.unusable.has_value(), row.refused) << row.name;
        const std::string missing = MVString::joined(shortcoming.unanswered, "\n");
        EXPECT_EQ(missing.empty(), row.missing.empty()) << row.name << "\n" << missing;
        for (const std::string& each : MVString::split(row.missing, "|")) {
            EXPECT_NE(missing.find(each), std::string::npos) << row.name << "\n" << missing;
        }
    }
    EXPECT_FALSE(terminal.accepts(questions(true)));
    EXPECT_TRUE(terminal.unanswered());
}

TEST_F(Foreseen, AnAnswerThatIsNotNeededThisTimeAnswersNothingElse) {
    put(home + "/setup.exe", "MZ");
    for (const char* each : {"License Agreement=I Agree", "Warning=Install it anyway", "Warning=Yes"})
        ASSERT_TRUE(answers.addAnswer(each));
    ASSERT_TRUE(answers.addChoice("Select the installer=~/setup.exe"));
    EXPECT_TRUE(terminal.accepts(questions(false)));
    EXPECT_EQ(answers.answersFor("Warning"), 1U);
    EXPECT_FALSE(answers.takeAnswer("Warning", {"No", "Yes"}));
}

TEST(ShellQuoted, IsOneWord) {
    EXPECT_EQ(shellQuoted("Baldur's Gate.app"), "'Baldur'\\''s Gate.app'");
}

TEST(ProgressLine, ShowsBarAndLinesWithinTheWidth) {
    ProgressState state;
    state.status = "Downloading engine…";
    state.subtitle = "1Mb of 2Mb";
    state.indeterminate = false;
    state.value = 500;
    EXPECT_EQ(progressLine(state, 100), "[##########..........]  50% Downloading engine…  1Mb of 2Mb");
    EXPECT_EQ(progressLine(state, 30), "[##########..........]  50% Do");
    state.status = "two\nlines";
    EXPECT_EQ(progressLine(state, 100).find('\n'), std::string::npos);
    EXPECT_EQ(fitted("äöü", 2), "äö");
}

}  // namespace
}  // namespace morvane::cli
