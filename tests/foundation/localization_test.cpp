#include "foundation/localization.h"

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <sstream>

#include "platform/files.h"
#include "platform/process.h"
#include "support/catalogue_file.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using testing::catalogueFile;
using testing::TestMachine;

const std::string russianRule =
    "n%10==1 && n%100!=11 ? 0 : n%10>=2 && n%10<=4 && (n%100<10 || n%100>=20) ? 1 : 2";

MessageCatalogue someLanguage() {
    using namespace std::string_literals;
    return *MessageCatalogue::read(
        catalogueFile({{"Yes", "Ja"},
                       {"Order", "Reihenfolge"},
                       {std::string("verb\4Order"), "Ordnen"},
                       {"%@ of %@", "%2$@, davon %1$@"},
                       {"Do you have the engine (%@)?", "Ist die Engine (%@) da?"},
                       {"%@ file\0%@ files"s, "%@ файл\0%@ файла\0%@ файлов"s}},
                      "Plural-Forms: nplurals=3; plural=(" + russianRule + ");\n"));
}

class InALanguage : public TestMachine {
  protected:
    InALanguage() : TestMachine(someLanguage()) {}
};

TEST_F(InALanguage, TextsFollowTheLanguageAndFallBackToEnglish) {
    EXPECT_EQ(localized("Yes"), "Ja");
    EXPECT_EQ(localized("No"), "No");
    EXPECT_EQ(localizedIn("verb", "Order"), "Ordnen");
    EXPECT_EQ(localized("%@ of %@", {"3", "7"}), "7, davon 3");
    // An argument is never a format.
    EXPECT_EQ(localized("%@ of %@", {"%2$@", "7"}), "7, davon %2$@");
}

TEST_F(InALanguage, NumbersTakeTheirForm) {
    const std::vector<std::pair<std::uint64_t, std::string>> rows{{1, "1 файл"},   {2, "2 файла"},
                                                                  {5, "5 файлов"}, {11, "11 файлов"},
                                                                  {21, "21 файл"}, {112, "112 файлов"}};
    for (const auto& [count, text] : rows) {
        EXPECT_EQ(counted("%@ file", "%@ files", count, {std::to_string(count)}), text);
    }
    EXPECT_EQ(counted("%@ day", "%@ days", 2, {"2"}), "2 days");
}

TEST_F(InALanguage, ShownTextsLeadBackToEnglish) {
    EXPECT_EQ(englishTexts("Ja"), std::vector<std::string>{"Yes"});
    EXPECT_EQ(englishTexts("Ist die Engine (CK9) da?").front(), "Do you have the engine (CK9)?");
    EXPECT_EQ(englishTexts("7, davon 3").front(), "3 of 7");
    EXPECT_EQ(englishTexts("Unknown"), std::vector<std::string>{"Unknown"});
}

TEST(MessageCatalogueReading, ADamagedFileIsNone) {
    const std::string whole = catalogueFile({{"Yes", "Ja"}, {"No", "Nein"}});
    ASSERT_TRUE(MessageCatalogue::read(whole));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(MessageCatalogue::read(whole.substr(0, size))) << size;
    }
    for (std::size_t at = 0; at < 28; ++at) {
        std::string changed = whole;
        changed[at] = '\xFF';
        static_cast<void>(MessageCatalogue::read(changed));
    }
    EXPECT_FALSE(MessageCatalogue::read(catalogueFile({{"Yes", "\xC3"}})));
    const std::string plural("a\0b", 3), forms("x\0y", 3);
    for (const char* rule : {"n", "n/0", "n ==", "((n)", "n != 1 ? 2 : 0", "m"}) {
        const std::string header = "Plural-Forms: nplurals=2; plural=" + std::string(rule) + ";\n";
        EXPECT_FALSE(MessageCatalogue::read(catalogueFile({{plural, forms}}, header))) << rule;
    }
    const std::string deep(100'000, '(');
    EXPECT_FALSE(pluralForm(deep, 1));
}

std::vector<std::string> placesOf(const std::string& text) {
    static const std::regex place(R"(%(\d\$)?@|%(lld|ld|lu|d|s))");
    std::vector<std::string> places;
    for (std::sregex_iterator at(text.begin(), text.end(), place), end; at != end; ++at) {
        // A place with a number of its own may stand anywhere.
        const std::string found = at->str();
        places.push_back(found.find('$') == std::string::npos ? std::to_string(places.size() + 1) + found
                                                              : found.substr(1, 1) + "%@");
    }
    std::ranges::sort(places);
    return places;
}

std::string said(const std::string& command) {
    const auto result = processes::run({.program = "/bin/sh", .arguments = {"-c", command}});
    return result ? result->output : "it did not start";
}

TEST(Translations, TheTemplateHoldsEveryTextOfTheSources) {
    EXPECT_EQ(said(MORVANE_SOURCE_FOLDER "/scripts/update-translations --check 2>&1"), "");
}

TEST(Translations, AreCompleteAndKeepThePlaces) {
    const std::string po = MORVANE_SOURCE_FOLDER "/po/";
    const std::string languages = files::read(po + "LINGUAS").value_or("");
    std::istringstream lines(languages);
    int shipped = 0;
    for (std::string language; std::getline(lines, language);) {
        if (language.empty() || language[0] == '#') continue;
        ++shipped;
        EXPECT_EQ(said("msgmerge -q -N " + po + language + ".po " + po +
                       "morvane.pot | msgattrib --no-obsolete "
                       "--untranslated - | grep ^msgid"),
                  "")
            << language;
        const auto catalogue = MessageCatalogue::read(said("msgfmt -c -o - " + po + language + ".po"));
        ASSERT_TRUE(catalogue) << language;
        EXPECT_EQ(files::kindOf(MORVANE_SOURCE_FOLDER "/resources/questions." + language + ".html"),
                  files::Kind::file);
        for (const auto& [key, entry] : catalogue->entries()) {
            for (const std::string& form : entry.forms) {
                EXPECT_EQ(placesOf(form), placesOf(entry.english.back())) << language << ": " << form;
            }
        }
    }
    EXPECT_GT(shipped, 0);
}

}  // namespace
}  // namespace morvane
