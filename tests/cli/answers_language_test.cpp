#include "cli/answers.h"
#include "cli/terminal_interface.h"
#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "support/catalogue_file.h"
#include "support/test_machine.h"

namespace morvane::cli {
namespace {

class AnswersInALanguage : public testing::TestMachine {
  protected:
    AnswersInALanguage()
        : TestMachine(*MessageCatalogue::read(
              testing::catalogueFile({{"Yes", "Ja"},
                                      {"No", "Nein"},
                                      {"Warning", "Warnung"},
                                      {"Select the engine %@", "Engine %@ auswählen"}}))) {}
};

TEST_F(AnswersInALanguage, AreGivenInEnglishOrAsShown) {
    const Dialog dialog = MVAlert::booleanDialog("?", "Warning", true);
    ASSERT_EQ(dialog.title, "Warnung");
    ASSERT_EQ(dialog.buttons.front(), "Ja");
    for (const char* option : {"Warning=No", "Warnung=Nein", "Warning=Nein", "Warning=n"}) {
        Answers answers;
        ASSERT_TRUE(answers.addAnswer(option));
        const auto answer = answers.takeAnswer(dialog.title, dialog.buttons);
        ASSERT_TRUE(answer) << option;
        EXPECT_EQ(scriptedChoice(answer->button, dialog.buttons, 0), 1U) << option;
    }
    Answers answers;
    ASSERT_TRUE(answers.addChoice("Select the engine CK9=/x"));
    EXPECT_EQ(answers.takeChoice(localized("Select the engine %@", {"CK9"})), "/x");
    // What a script is told to give is the same in every language.
    EXPECT_NE(asked(dialog).find("--answer 'Warning=Yes' or --answer 'Warning=No'"), std::string::npos)
        << asked(dialog);
}

}  // namespace
}  // namespace morvane::cli
