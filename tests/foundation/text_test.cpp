#include "foundation/text.h"

#include <gtest/gtest.h>

#include "foundation/formats.h"

namespace morvane {
namespace {

using Pairs = std::vector<std::pair<const char*, const char*>>;

TEST(Search, FindsNamesForgivingly) {
    const Pairs fit{{"", "Anything"},
                    {" -*?!.,: the OF in to", "Anything"},
                    {"gta v", "Grand Theft Auto V"},
                    {"final fantasy 7", "Final Fantasy VII"},
                    {"tom and jerry", "Tom & Jerry"},
                    {"the sims", "Sims 2"},
                    {"x", "Maxwell"},
                    {"tw", "The Witcher"},
                    {"t", "Witcher"},
                    {"q", "Quake Witcher"},
                    {"assassins", "Assassin's Creed"},
                    {"starwars", "S.T.A.R.W.A.R.S"},
                    {"versus", "Alien vs Predator"},
                    {"11", "Game: XI-Gold"},
                    {"ÉPÉE", "L'épée"},
                    {"éd", "Été Doux"}};
    for (const auto& [search, name] : fit)
        EXPECT_TRUE(MVString::matchesWithSearchTerms(name, search)) << search << " | " << name;
    const Pairs unfit{{"hitman 3", "Hitman II: Silent Assassin"},
                      {"tw", "Witcher The"},
                      {"z", "Quake Witcher"},
                      {"11", "Game Xing"},
                      {"ed", "Été Doux"},
                      {"sims zoo", "Sims 2"}};
    for (const auto& [search, name] : unfit)
        EXPECT_FALSE(MVString::matchesWithSearchTerms(name, search)) << search << " | " << name;
}

TEST(Lowercased, IsUnicodeAndKeepsWhatIsNoText) {
    EXPECT_EQ(MVString::lowercased("ÄÖÜ ЖЯ ΣΟΦΟΣ İ\xFF\xC3"), "äöü жя σοφος i\u0307\xFF\xC3");
    EXPECT_EQ(MVString::uppercased("straße é\xFF"), "STRASSE É\xFF");
}

TEST(BooleanValue, ReadsWhatUsersAndToolsWrite) {
    for (const char* yes : {"YES", "true", " \n-007", "+1", "0Y", "9"})
        EXPECT_TRUE(NSUtilities::booleanValue(yes)) << yes;
    for (const char* no : {"", "0", "NO", "+-1", " ", "x1", "00"})
        EXPECT_FALSE(NSUtilities::booleanValue(no)) << no;
}

TEST(ContainsAbbreviation, IsTheInitialsOfWordsInARow) {
    EXPECT_TRUE(MVString::containsAbbreviation("The Elder Scrolls", "ES"));
    for (const char* unfit : {"t", "ts", "the"}) {
        EXPECT_FALSE(MVString::containsAbbreviation("The Elder Scrolls", unfit)) << unfit;
    }
    EXPECT_FALSE(MVString::containsAbbreviation("The  Elder", "te")) << "an empty word begins with nothing";
}

}  // namespace
}  // namespace morvane
