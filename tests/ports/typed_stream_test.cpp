#include "ports/typed_stream.h"

#include <gtest/gtest.h>

#include <cmath>

#include "archive_bytes.h"
#include "platform/pictures.h"

namespace morvane {
namespace {

using namespace morvane::testing;
using typed_stream::archive;
using typed_stream::ByteOrder;
using typed_stream::describe;
using typed_stream::unarchive;

const std::string arrayOfThree = bytesOf(R"(04 0b 'streamtyped' 81 e8 03
    84 01 '@' 84 84 84 07 'NSArray' 00 84 84 08 'NSObject' 00 85
      84 01 'i' 03
      92  84 84 84 08 'NSString' 01 94 84 01 '+' 01 'a' 86
      92  84 84 84 08 'NSNumber' 00 84 84 07 'NSValue' 00 94 84 01 '*' 84 84 01 'q' 9b 01 86
      92  84 96 97 01 'b' 86
    86)");

std::string tiffOf(int width, int height) {
    Picture picture{width, height,
                    std::vector<std::uint8_t>(static_cast<std::size_t>(width * height * 4), 200)};
    return pictures::encodeTiff(picture);
}

std::string archived(const Value& root, ByteOrder order = ByteOrder::little) {
    auto result = archive(root, order);
    EXPECT_TRUE(result) << result.error().message();
    return *result;
}

Value unarchived(std::string_view bytes) {
    auto result = unarchive(bytes);
    if (!result) {
        ADD_FAILURE() << result.error().message();
        return {};
    }
    return *result;
}

bool isRefused(std::string_view bytes) {
    return !unarchive(bytes);
}

/// Something of every kind that can be written.
Value richValue() {
    return Dictionary{
        {"text", "Grüße"},
        {"numbers",
         Array{0, -110, -111, 127, 128, 40000, -40000, std::int64_t{1} << 40, INT64_MIN, INT64_MAX}},
        {"reals", Array{0.5, -0.0, 3.0, 4294967296.0, -1e300}},
        {"flags", Array{true, false}},
        {"nothing", Value()},
        {"date", Date{86400.25}},
        {"data", Data{std::string("\0\x86\x84", 3)}},
        {"no data", Data{}},
        {"icon", ImageData{tiffOf(3, 2), 32, 16.5}},
        {"empty", Array{Array(), Dictionary(), "", StyledText()}},
        {"styled", StyledText{"a😀bc",
                              {{3, true, false, "Helvetica-Bold", 12, ""},
                               {1, false, true, "Georgia-Italic", 13.5, "http://morvane.example/"},
                               {1, true, false, "Helvetica-Bold", 12, ""}}}},
    };
}

TEST(Archive, WritesTheWorkedExample) {
    const Array root{"a", 1, "b"};
    EXPECT_EQ(archived(root), arrayOfThree);
    EXPECT_EQ(unarchived(arrayOfThree), Value(root));
    std::string big = arrayOfThree;
    big.replace(0, bigHeader.size(), bigHeader);
    EXPECT_EQ(archived(root, ByteOrder::big), big);
    EXPECT_EQ(unarchived(big), Value(root));
}

TEST(Archive, ReadsWhatItWroteInBothOrders) {
    const Value root = richValue();
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
        EXPECT_TRUE(unarchived(archived(root, order)) == root);
        EXPECT_EQ(archived(unarchived(archived(root, order)), order), archived(root, order));
    }
    EXPECT_TRUE(std::signbit(*(*unarchived(archived(Array{-0.0})).as<Array>())[0].as<double>()));
}

const std::string zero(1, '\0');

std::string number(std::string_view type, std::string_view value) {
    return object({{"NSNumber"}, {"NSValue"}}, group("*", "\x84" + sharedText(type)) + group(type, value));
}
std::string list(std::string_view count, std::string_view members) {
    return object({{"NSArray"}}, group("i", count) + std::string(members));
}
std::string wrapped(std::string_view element) {
    return list("\x01", member(element));
}
std::string attributedText(std::string_view content, std::string_view runs) {
    return object({{"NSMutableAttributedString"}, {"NSAttributedString"}},
                  member(object({{"NSMutableString", 1}, {"NSString", 1}}, group("+", counted(content)))) +
                      std::string(runs));
}
std::string fontNamed(std::string_view utf16Name) {
    const std::string blob = bytesOf("06 00 00 00") + static_cast<char>(utf16Name.size() + 2) +
                             bytesOf("00 00 00 ff fe") + std::string(utf16Name);
    return object({{"NSFont", 30}}, group("i", integer32(static_cast<std::uint32_t>(blob.size()))) +
                                        group("[" + std::to_string(blob.size()) + "c]", blob) +
                                        group("f", "\x0e") + group("c", zero) + group("c", "\x01") +
                                        group("c", zero) + group("c", zero));
}
std::string imageOf(char version, int flags, std::string_view bytes) {
    std::string fields = member("\x85");
    for (int i = 0; i < flags; ++i) fields += group("c", zero);
    const std::string length = integer32(static_cast<std::uint32_t>(bytes.size()));
    fields += group("ff", "\x20\x10") + group("s", "\x01") + group("c", zero);
    fields += member(object({{"NSBitmapImageRep", 17}, {"NSImageRep", 17}},
                            group("i", length) + group("[" + std::to_string(bytes.size()) + "c]", bytes)));
    fields += member(object({{"NSColor"}}, group("c", "\x03") + group("ff", std::string(2, '\0'))));
    return object({{"NSImage", version}}, fields + member("\x85"));
}

const std::string png = "\x89PNG\r\n\x1a\n and so on";

TEST(Unarchive, ReadsEveryLayout) {
    struct Row {
        const char* name;
        std::string root;
        Value expected;
    };
    const std::string tiff = tiffOf(1, 1);
    const std::string dictionaryEntry = member(text("key")) + member(text("value"));
    const std::string link = object(
        {{"NSURL"}}, group("c", "\x01") +
                         member(object({{"NSURL"}}, group("c", zero) + member(text("http://a.b/c/d")))) +
                         member(text("e?f")));
    const std::string bold =
        object({{"NSDictionary"}}, group("i", "\x03") + member(text("NSFont")) +
                                       member(fontNamed(std::string("A\0-\0B\0o\0l\0d\0", 12))) +
                                       member(text("NSColor")) + member(text("passed over")) +
                                       member(text("NSLink")) + member(link));
    const Row rows[] = {
        {"text of a mutable class",
         object({{"NSMutableString", 1}, {"NSString", 1}}, group("+", counted("a"))), "a"},
        {"text that is not UTF-8", wrapped(text("\xff")), Array{Value()}},
        {"nil text", wrapped(object({{"NSString", 1}}, group("+", "\x85"))), Array{Value()}},
        {"mutable list",
         object({{"NSMutableArray"}, {"NSArray"}}, group("i", "\x02") + member("\x85") + member(text("x"))),
         Array{Value(), "x"}},
        {"list in one group", object({{"NSArray"}}, group("i@@", "\x02" + text("x") + text("y"))),
         Array{"x", "y"}},
        {"set", object({{"NSSet"}}, group("I", "\x01") + member(text("x"))), Array{"x"}},
        {"mutable dictionary",
         object({{"NSMutableDictionary"}, {"NSDictionary"}}, group("i", "\x01") + dictionaryEntry),
         Dictionary{{"key", "value"}}},
        {"dictionary with another key",
         wrapped(object({{"NSDictionary"}},
                        group("i", "\x01") + member(number("i", "\x01")) + member(text("x")))),
         Array{Value()}},
        {"c 1", number("c", "\x01"), true},
        {"c 2", number("c", "\x02"), 2},
        {"c -1", number("c", "\xff"), -1},
        {"C 200", number("C", "\xc8"), 200},
        {"s", number("s", bytesOf("81 c8 ff")), -56},
        {"i", number("i", bytesOf("82 00 00 00 80")), std::int64_t{INT32_MIN}},
        {"I is stored signed", number("I", "\xfd"), std::int64_t{4294967293}},
        {"q", number("q", bytesOf("87 00 00 00 00 01 00 00 00")), std::int64_t{1} << 32},
        {"Q", number("Q", "\x07"), 7},
        {"Q beyond 63 bits", number("Q", "\xfd"), 18446744073709551613.0},
        {"f", number("f", bytesOf("83 00 00 40 3f")), 0.75},
        {"d as an integer", number("d", "\xfe"), -2.0},
        {"a value of a structure",
         wrapped(object({{"NSValue"}}, group("*", "\x84" + sharedText("{_NSPoint=ff}")) +
                                           group("{_NSPoint=ff}", "\x01\x02"))),
         Array{Value()}},
        {"data",
         object({{"NSMutableData"}, {"NSData"}},
                group("i", "\x02") + group("[2c]", std::string("\0\x86", 2))),
         Data{std::string("\0\x86", 2)}},
        {"date", object({{"NSDate"}}, group("d", "\x3c")), Date{60}},
        {"null", object({{"NSNull"}}, ""), Value()},
        {"address", object({{"NSURL"}}, group("c", zero) + member(text("http://a.b"))), "http://a.b"},
        {"relative address", link, "http://a.b/c/e?f"},
        {"styled text",
         attributedText("ab\xc3\xa4", group("iI", "\x01\x01") + member(bold) + group("iI", "\x02\x01") +
                                          member(object({{"NSDictionary"}}, group("i", zero))) +
                                          group("iI", "\x01\x01")),
         StyledText{"ab\xc3\xa4",
                    {{1, true, false, "A-Bold", 14, "http://a.b/c/e?f"},
                     {1, false, false, "", 0, ""},
                     {1, true, false, "A-Bold", 14, "http://a.b/c/e?f"}}}},
        {"image of version 46", imageOf(46, 14, tiff), ImageData{tiff, 32, 16}},
        {"image of version 45", imageOf(45, 13, tiff), ImageData{tiff, 32, 16}},
        {"image of a later version", imageOf(60, 20, png), ImageData{png, 32, 16}},
        {"image without a picture", wrapped(imageOf(46, 14, "no picture")), Array{Value()}},
        {"cached image",
         object({{"NSCachedImageRep", 17}, {"NSImageRep", 17}},
                group("i", integer32(static_cast<std::uint32_t>(tiff.size()))) +
                    group("[" + std::to_string(tiff.size()) + "c]", tiff) + group("c", zero) +
                    group("iii", "\x01\x02\x03")),
         ImageData{tiff, 0, 0}},
        {"object of another class",
         wrapped(object({{"Whatever", 9}}, group("[2{a=ifd}]", "\x01\x02\x03\x04\x05\x06") + group("!", "") +
                                               group("#", "\x85") + group(":", "\x85") + group("*", "\x85") +
                                               group("%", sharedText("x")) + group("[0c]", ""))),
         Array{Value()}},
    };
    for (const Row& row : rows) EXPECT_TRUE(unarchived(archiveOf(row.root)) == row.expected) << row.name;
}

TEST(Unarchive, TakesTheFirstOfSeveralGroups) {
    EXPECT_EQ(unarchived(archiveOf(text("first")) + group("@", text("second")) + group("i", "\x05")),
              Value("first"));
    EXPECT_TRUE(isRefused(littleHeader + group("i", "\x05") + group("@", text("second"))));
}

TEST(Unarchive, CopiesSharedObjects) {
    // Object 0 is the list, 1 and 2 its classes, 3 the text.
    EXPECT_EQ(unarchived(archiveOf(list("\x02", member(text("x")) + member("\x95")))),
              Value(Array{"x", "x"}));
}

std::string nested(int levels) {
    std::string root = text("deep");
    for (int i = 1; i < levels; ++i) root = wrapped(root);
    return archiveOf(root);
}

TEST(Nesting, EndsAt256Levels) {
    EXPECT_FALSE(isRefused(nested(256)));
    EXPECT_TRUE(isRefused(nested(257)));
    EXPECT_FALSE(describe(nested(257)));
    Value deep("deep");
    for (int i = 1; i < 256; ++i) deep = Array{std::move(deep)};
    EXPECT_EQ(unarchived(archived(deep)), deep);
    deep = Array{std::move(deep)};
    EXPECT_FALSE(archive(deep));
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i) result += text;
    return result;
}

TEST(BadArchives, AreRefused) {
    const std::string body = archiveOf(text("a")).substr(littleHeader.size());
    const auto listed = [](std::string_view count, std::string_view members) {
        return archiveOf(list(count, members));
    };
    /// An object of the class with one group.
    const auto one = [](TestClass name, std::string_view type, std::string_view values) {
        return archiveOf(object({name}, group(type, values)));
    };
    const std::string nullClass = "\x84" + sharedText("NSNull") + zero;
    const std::pair<const char*, std::string> rows[] = {
        {"nothing", ""},
        {"no root", littleHeader},
        {"nil root", archiveOf("\x85")},
        {"root of another class", archiveOf(object({{"Whatever"}}, ""))},
        {"another signature", bytesOf("04 0b 'streamtypes' 81 e8 03") + body},
        {"another version", bytesOf("03 0b 'streamtyped' 81 e8 03") + body},
        {"another system version", bytesOf("04 0b 'streamtyped' 81 e9 03") + body},
        {"a byte too many", littleHeader + body + "\x01"},
        {"tag 80", listed("\x80", "")},
        {"tag 91", listed("\x91", "")},
        {"a real for an integer", listed(bytesOf("83 00 00 00 00"), "")},
        {"a count of 2^31 - 1", listed(bytesOf("82 ff ff ff 7f"), "")},
        {"a count below zero", listed("\xff", "")},
        {"a count beyond the fields", listed("\x02", member("\x85"))},
        {"an element that is no object", listed("\x01", group("i", "\x01"))},
        {"a text length of 2^31 - 1", one({"NSString", 1}, "+", bytesOf("82 ff ff ff 7f 'a'"))},
        {"a negative text length", one({"NSString", 1}, "+", "\xff")},
        {"an array of 2^31 bytes", one({"NSData"}, "[2147483648c]", "")},
        {"an array of 10^30 bytes", one({"NSData"}, "[1000000000000000000000000000000c]", "")},
        {"arrays of nothing", one({"A"}, "[999[999[999[0c]]]]", std::string(1000, 'x'))},
        {"data of another length", archiveOf(object({{"NSData"}}, group("i", "\x03") + group("[2c]", "ab")))},
        {"an unknown type", one({"A"}, "^i", "\x01")},
        {"an open structure", one({"A"}, "{a=i", "\x01")},
        {"a structure without fields", one({"A"}, "{a}", "")},
        {"an array without a count", one({"A"}, "[i]", "\x01")},
        {"a type of a million levels", one({"A"}, repeated("[1", 1'000'000), "\x01")},
        {"a reference beyond 63 bits", listed("\x01", member(bytesOf("87 ff ff ff ff ff ff ff 7f")))},
        {"a reference to nothing", listed("\x01", member("\x7f"))},
        {"a reference to a class as an object", listed("\x01", member("\x93"))},
        {"a reference to an object as a class", littleHeader + group("@", bytesOf("84 92 86"))},
        {"an object without a class", littleHeader + group("@", bytesOf("84 85 86"))},
        {"a class of itself", littleHeader + group("@", "\x84" + nullClass + "\x93\x86")},
        {"a class with a thousand ancestors",
         littleHeader + group("@", "\x84" + repeated(nullClass, 1000) + "\x85\x86")},
        {"a list that holds itself", listed("\x01", member("\x92"))},
        {"a list that holds itself often", listed("\x64", repeated(member("\x92"), 100))},
        {"a million nested lists",
         littleHeader + repeated(bytesOf("84 01 '@' 84 84 01 'A' 00 85"), 1'000'000)},
        {"runs shorter than the text",
         archiveOf(attributedText("abc", group("iI", "\x01\x01") + member("\x85")))},
        {"runs longer than the text",
         archiveOf(attributedText("abc", group("iI", "\x01\x7f") + member("\x85")))},
    };
    for (const auto& [name, bytes] : rows) EXPECT_TRUE(isRefused(bytes)) << name;
}

/// A list of lists, each of which holds the one before twenty times: small to store, endless to expand.
std::string laughs(int levels) {
    std::string members = member(list(zero, ""));
    // Slots: 0 the root, 1 and 2 its classes, then three for every list, the list itself first.
    for (int level = 0; level < levels; ++level) {
        const std::string before = member(std::string(1, static_cast<char>(0x92 + 3 + 3 * level)));
        members += member(list("\x14", repeated(before, 20)));
    }
    return archiveOf(list(std::string(1, static_cast<char>(levels + 1)), members));
}

TEST(SharedObjects, ExpandWithinABudgetOnly) {
    EXPECT_FALSE(isRefused(laughs(2)));
    EXPECT_TRUE(isRefused(laughs(10)));
    EXPECT_TRUE(describe(laughs(10)));

    // A long text in many places: 100 references in a group of three bytes each.
    const std::string longText = text(std::string(100'000, 'x'));
    EXPECT_TRUE(isRefused(archiveOf(list("\x64", member(longText) + repeated(member("\x95"), 99)))));
    EXPECT_FALSE(isRefused(archiveOf(list("\x02", member(longText) + member("\x95")))));
}

TEST(CutArchives, AreRefusedAtEveryByte) {
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
        const std::string whole = archived(richValue(), order);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            ASSERT_TRUE(isRefused(std::string_view(whole).substr(0, length))) << length;
            ASSERT_FALSE(describe(std::string_view(whole).substr(0, length))) << length;
        }
    }
}

TEST(Describe, ShowsCirclesAsReferencesAndUnknownTypesAsTheyAre) {
    const std::string bytes = bigHeader + bytesOf(R"(84 01 '@' 84 84 84 05 'Thing' 81 01 00 85
        84 09 '@{p=fc}#!' 92  83 3f 00 00 00  ff  84 84 01 'X' 02 93
        84 07 '[2[2c]]' 'ab' ff fe
        86)");
    const auto result = describe(bytes);
    ASSERT_TRUE(result) << result.error().message();
    const auto& groups = *result->as<Dictionary>()->get<Array>("groups");
    const Array thing{Dictionary{{"name", "Thing"}, {"version", 256}}};
    Array derived{Dictionary{{"name", "X"}, {"version", 2}}};
    derived.push_back(thing.front());
    const Dictionary expected{
        {"object", 0},
        {"class", thing},
        {"fields",
         Array{Dictionary{{"type", "@{p=fc}#!"},
                          {"values", Array{Dictionary{{"reference", 0}}, Array{0.5, -1},
                                           Dictionary{{"class", derived}}}}},
               Dictionary{{"type", "[2[2c]]"}, {"values", Array{Array{Data{"ab"}, Data{"\xff\xfe"}}}}}}}};
    EXPECT_TRUE(groups.front() == Value(Dictionary{{"type", "@"}, {"values", Array{expected}}}));
}

TEST(Describe, RefusesWhatNobodyCouldRead) {
    const std::string bytes = archiveOf(list(integer32(300'000), repeated("\x92\x85", 300'000)));
    EXPECT_FALSE(describe(bytes));
    EXPECT_EQ(unarchived(bytes).as<Array>()->size(), 300'000U);
}

TEST(Archive, ConvertsPicturesToTiff) {
    const Picture picture{2, 1, {255, 0, 0, 255, 0, 0, 255, 128}};
    const Value read = unarchived(archived(ImageData{pictures::encodePng(picture), 0, 0}));
    const auto* image = read.as<ImageData>();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(pictures::kindOf(image->bytes), "TIFF");
    EXPECT_EQ(image->width, 2);
    EXPECT_EQ(image->height, 1);
    const auto decoded = pictures::decode(image->bytes);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->rgba, picture.rgba);
}

TEST(Archive, RefusesWhatItCannotHold) {
    const Value rows[] = {Array{"\xff"}, ImageData{"no picture", 1, 1},
                          StyledText{"abc", {{2, false, false, "", 0, ""}}}};
    for (const Value& root : rows) EXPECT_FALSE(archive(root));
}

}  // namespace
}  // namespace morvane
