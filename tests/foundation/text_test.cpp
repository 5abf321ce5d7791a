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

TEST(Fragment, LiesBetweenTheMarkers) {
    struct Row {
        const char *text, *start, *end, *fragment;
    };
    for (const Row& row : std::initializer_list<Row>{{"a[b]c[d]", "[", "]", "b"},
                                                     {"key=value", "=", "\n", "value"},
                                                     {"key=", "=", "\n", ""},
                                                     {"first\nsecond", nullptr, "\n", "first"},
                                                     {"abc", "x", "c", ""},
                                                     {"abc", "a", nullptr, "bc"},
                                                     {"aXbXc", "X", "X", "b"}}) {
        const auto marker = [](const char* text) {
            return text != nullptr ? std::optional<std::string_view>(text) : std::nullopt;
        };
        EXPECT_EQ(NSUtilities::getFragmentAfter(marker(row.start), marker(row.end), row.text), row.fragment)
            << row.text;
    }
    EXPECT_EQ(MVString::rangeAfterString("abc", "x", std::nullopt), std::nullopt);
    EXPECT_EQ(MVString::rangeAfterString("abc", "c", std::nullopt), (TextRange{3, 0}));
}

TEST(InitialIntValue, ReadsLeadingDigitsOnly) {
    const std::pair<const char*, std::int64_t> rows[] = {{"012abc", 12},
                                                         {"abc", 0},
                                                         {" 7", 0},
                                                         {"-7", 0},
                                                         {"9223372036854775807", INT64_MAX},
                                                         {"99999999999999999999999", INT64_MAX}};
    for (const auto& [text, number] : rows) EXPECT_EQ(MVString::initialIntValue(text), number) << text;
}

TEST(WebStructure, EscapesWhatWouldBreakAnAddress) {
    EXPECT_EQ(MVString::stringToWebStructure("a b&c?d"), "a%20b%26c%3Fd");
    EXPECT_EQ(MVString::stringToWebStructure("http://x/y:z=1+2;$,@!"), "http://x/y:z=1+2;$,@!");
    EXPECT_EQ(MVString::stringToWebStructure("\"100%\" é#[\n"), "%22100%25%22%20%C3%A9%23%5B%0A");
}

TEST(SmallOperations, KeepEveryByte) {
    using namespace std::string_literals;
    EXPECT_EQ(MVString::stringWithHexString("00 10\n41"), "\0\x10"s + "A");
    EXPECT_EQ(MVString::stringByRemovingEvenCharsFromString("C\0:\0\xE9\0"s), "C:\xE9");
    EXPECT_EQ(MVString::stringByRemovingEvenCharsFromString("abcde"), "ace");
    EXPECT_EQ(MVString::split("a  b ", " "), (std::vector<std::string>{"a", "", "b", ""}));
    EXPECT_EQ(MVString::replacedAll("////", "//", "/"), "//");
    EXPECT_EQ(MVString::trimmed(" \r\n a b\t"), "a b");
    EXPECT_TRUE(MVString::isValidUtf8("é\uFFFD"));
    EXPECT_FALSE(MVString::isValidUtf8("\xC3"));
    EXPECT_FALSE(MVString::isValidUtf8("\xED\xA0\x80"));
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
