#include "foundation/text.h"

#include <gtest/gtest.h>

#include "foundation/formats.h"

namespace morvane {
namespace {

TEST(Search, FindsNamesForgivingly) {
    struct Row {
        const char *search, *name;
        bool matches;
    };
    for (const Row& row : std::initializer_list<Row>{
             {"", "Anything", true},
             {" -*?!.,: the OF in to", "Anything", true},
             {"gta v", "Grand Theft Auto V", true},
             {"final fantasy 7", "Final Fantasy VII", true},
             {"tom and jerry", "Tom & Jerry", true},
             {"the sims", "Sims 2", true},
             {"hitman 2", "Hitman II: Silent Assassin", true},
             {"hitman 3", "Hitman II: Silent Assassin", false},
             {"x", "Maxwell", true},
             {"tw", "The Witcher", true},
             {"tw", "Witcher The", false},
             {"t", "Witcher", true},
             {"q", "Quake Witcher", true},
             {"z", "Quake Witcher", false},
             {"assassins", "Assassin's Creed", true},
             {"starwars", "S.T.A.R.W.A.R.S", true},
             {"versus", "Alien vs Predator", true},
             {"11", "Game: XI-Gold", true},
             {"11", "Game Xing", false},
             {"ÉPÉE", "L'épée", true},
             {"éd", "Été Doux", true},
             {"ed", "Été Doux", false},
             {"sims zoo", "Sims 2", false},
         }) {
        EXPECT_EQ(MVString::matchesWithSearchTerms(row.name, row.search), row.matches)
            << row.search << " in " << row.name;
    }
}

TEST(ContainsAbbreviation, IsTheInitialsOfWordsInARow) {
    EXPECT_TRUE(MVString::containsAbbreviation("The Elder Scrolls", "ES"));
    EXPECT_TRUE(MVString::containsAbbreviation("The Tall Tower", "tt"));
    EXPECT_FALSE(MVString::containsAbbreviation("The Elder Scrolls", "t"));
    EXPECT_FALSE(MVString::containsAbbreviation("The Elder Scrolls", "ts"));
    EXPECT_FALSE(MVString::containsAbbreviation("The  Elder", "te")) << "an empty word begins with nothing";
    EXPECT_FALSE(MVString::containsAbbreviation("The", "the"));
}

TEST(ContainsWord, LowersTheTextButNotTheWord) {
    EXPECT_TRUE(MVString::containsWord("Alien VS-Predator", "vs"));
    EXPECT_FALSE(MVString::containsWord("Alien VS-Predator", "VS"));
    EXPECT_FALSE(MVString::containsWord("Alien vs.Predator", "vs"));
    EXPECT_FALSE(MVString::contains("text", ""));
}

TEST(Lowercased, IsUnicodeAndKeepsWhatIsNoText) {
    EXPECT_EQ(MVString::lowercased("ÄÖÜ ЖЯ ΣΟΦΟΣ İ\xFF\xC3"), "äöü жя σοφος i\u0307\xFF\xC3");
    EXPECT_EQ(MVString::uppercased("straße é\xFF"), "STRASSE É\xFF");
}

TEST(Fragment, LiesBetweenTheMarkers) {
    struct Row {
        const char *text, *start, *end, *fragment;
    };
    for (const Row& row : std::initializer_list<Row>{
             {"a[b]c[d]", "[", "]", "b"},
             {"]a[b", "[", "]", "b"},
             {"key=value", "=", "\n", "value"},
             {"key=", "=", "\n", ""},
             {"first\nsecond", nullptr, "\n", "first"},
             {"abc", "x", "c", ""},
             {"abc", "A", nullptr, ""},
             {"abc", "a", nullptr, "bc"},
             {"aXbXc", "X", "X", "b"},
         }) {
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
    EXPECT_EQ(MVString::initialIntValue("12abc"), 12);
    EXPECT_EQ(MVString::initialIntValue("abc"), 0);
    EXPECT_EQ(MVString::initialIntValue("007"), 7);
    EXPECT_EQ(MVString::initialIntValue(" 7"), 0);
    EXPECT_EQ(MVString::initialIntValue("-7"), 0);
    EXPECT_EQ(MVString::initialIntValue("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(MVString::initialIntValue("99999999999999999999999"), INT64_MAX);
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
    EXPECT_EQ(MVString::split("", " "), std::vector<std::string>{""});
    EXPECT_EQ(MVString::replacedAll("////", "//", "/"), "//");
    EXPECT_EQ(MVString::trimmed(" \r\n a b\t"), "a b");
    EXPECT_TRUE(MVString::isValidUtf8("é\uFFFD"));
    EXPECT_FALSE(MVString::isValidUtf8("\xC3"));
    EXPECT_FALSE(MVString::isValidUtf8("\xED\xA0\x80"));
}

TEST(TimeNeeded, LeavesZeroPartsOut) {
    struct Row {
        std::int64_t bytes, speed;
        const char* text;
    };
    for (const Row& row : std::initializer_list<Row>{
             {10, 0, "Time out: ∞"},
             {10, -1, "Time out: ∞"},
             {0, 5, "Time out: 0s"},
             {119, 2, "Time out: 59s"},
             {60, 1, "Time out: 1m"},
             {3725, 1, "Time out: 1h 2m 5s"},
             {7200, 1, "Time out: 2h"},
             {90061, 1, "Time out: 1d 1h 1m 1s"},
             {86400 * 30, 1, "Time out: 30d"},
         }) {
        EXPECT_EQ(NSUtilities::timeNeededToDownload(row.bytes, row.speed), row.text);
    }
}

TEST(HumanReadableSize, NeverRoundsUp) {
    using enum DecimalMeasureSystem;
    struct Row {
        std::int64_t bytes;
        DecimalMeasureSystem decimal;
        const char* text;
    };
    for (const Row& row : std::initializer_list<Row>{
             {0, no, "0b"},
             {1000, no, "1000b"},
             {1000, yes, "1Kb"},
             {1536, no, "1.5Kb"},
             {1100, no, "1Kb"},
             {2047, no, "1.9Kb"},
             {1500000, yes, "1.5Mb"},
             {1048576, no, "1Mb"},
             {INT64_MAX, no, "7.9Eb"},
         }) {
        EXPECT_EQ(NSUtilities::humanReadableSizeForBytes(row.bytes, row.decimal), row.text);
    }
}

TEST(BooleanValue, ReadsWhatUsersAndToolsWrite) {
    for (const char* yes : {"1", "YES", "true", " \n-007", "+1", "0Y", "9"}) {
        EXPECT_TRUE(NSUtilities::booleanValue(yes)) << yes;
    }
    for (const char* no : {"", "0", "NO", "false", "+-1", " ", "x1", "00"}) {
        EXPECT_FALSE(NSUtilities::booleanValue(no)) << no;
    }
}

TEST(ErrorPage, HoldsTheMessageAsItStands) {
    const std::string page = NSUtilities::errorHTMLWithMessage("100% <b>%@</b>");
    EXPECT_TRUE(page.starts_with("<HTML><HEAD></HEAD><BODY bgcolor=\"black\" style=\"margin: 0;"));
    EXPECT_TRUE(page.ends_with("'Helvetica Neue', Helvetica;\">100% <b>%@</b></div></center></BODY></HTML>"));
}

}  // namespace
}  // namespace morvane
