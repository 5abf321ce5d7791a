#include "platform/property_list.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "support/results.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using property_lists::parse;
using property_lists::xml;
using testing::why;
using namespace std::string_literals;

std::string textOf(const std::optional<Value>& value) {
    return value ? xml(*value) : "nothing";
}

/// A binary list of these objects; the first is the top.
std::string binary(const std::vector<std::string>& objects) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (const std::string& object : objects) {
        offsets += static_cast<char>(bytes.size() >> 8U);
        offsets += static_cast<char>(bytes.size() & 0xFFU);
        bytes += object;
    }
    const auto number = [](std::size_t value) {
        std::string eight(8, '\0');
        for (std::size_t i = 8; i > 0; --i, value >>= 8U) eight[i - 1] = static_cast<char>(value & 0xFFU);
        return eight;
    };
    const std::size_t table = bytes.size();
    return bytes + offsets + "\0\0\0\0\0\0\2\1"s + number(objects.size()) + number(0) + number(table);
}

const Value everything = Dictionary{
    {"zeta", "a < b & \"c\" > d\r\n\té 😀"},
    {"whole", Array{-5, std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}},
    {"real", Array{0.1, 1e300, -std::numeric_limits<double>::infinity()}},
    {"flags", Array{true, false}},
    {"dates", Array{Date{86400.0 * 365 * 120}, Date{-86400.0 * 365 * 120}}},
    {"data", Data{"\0\1\xFF\xFE bytes"s}},
    {"list", Array{"", Array{}, Dictionary{}, Array{1, "two"}}},
    {"", "under no name"},
};

TEST(PropertyListXml, ComesBackAsItWasWritten) {
    const std::optional<Value> read = parse(xml(everything));
    ASSERT_EQ(read, everything);
    EXPECT_EQ(xml(*read), xml(everything)) << "the order of the keys";
}

TEST(PropertyListXml, ReadsWhatOthersWrite) {
    const struct {
        std::string xml;
        Value value;
    } rows[] = {
        {"<plist version='1.0'><string>a<!-- x -->b<![CDATA[<c>]]>&#233;</string></plist>", "ab<c>é"},
        {"<string> kept </string>", " kept "},
        {"<plist><true></true></plist>\n<!-- end -->", true},
        {"<plist><integer> +12\n</integer></plist>", 12},
        {"<plist><integer>0x1F</integer></plist>", 31},
        {"<plist><integer>18446744073709551615</integer></plist>", 18446744073709551615.0},
        {"<plist><integer>-9223372036854775808</integer></plist>", std::numeric_limits<std::int64_t>::min()},
        {"<plist><real>+infinity</real></plist>", std::numeric_limits<double>::infinity()},
        {"<plist><date>2001-01-01T00:00:10Z</date></plist>", Date{10}},
        {"<plist><date>2100-03-01T00:00:00Z</date></plist>", Date{86400.0 * 36218}},
        {"<plist><data>\n\tAAEC\n\tAw==\n</data></plist>", Data{"\0\1\2\3"s}},
        {"<plist><dict><key>a</key><true/><key>a</key><false/></dict></plist>", Dictionary{{"a", false}}},
        {"<plist><string>whole</string></plist>\0\0rest"s, "whole"},
        {"\xEF\xBB\xBF<plist><string>é</string></plist>", "é"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><plist><string>\xE9</string></plist>", "é"},

    };
    for (const auto& row : rows) {
        EXPECT_EQ(parse(row.xml), row.value) << row.xml << "\nread as\n" << textOf(parse(row.xml));
    }
    for (const char* bytes :
         {"", "hello", "<html><body>404</body></html>", "<string>a",
          "<!DOCTYPE plist PUBLIC \"p\" \"no.dtd\"><plist><string>a&foo;b</string></plist>",
          "<!DOCTYPE plist [<!ENTITY a 'b'>]><plist><string>&a;</string></plist>",
          "<!DOCTYPE plist [<!ENTITY a SYSTEM 'file:///etc/passwd'>]><plist><string>&a;</string></plist>"}) {
        EXPECT_FALSE(parse(bytes)) << bytes;
    }
    for (const std::string content :
         {"", "<integer>12a</integer>", "<integer></integer>", "<integer>18446744073709551616</integer>",
          "<date>2001-02-30T00:00:00Z</date>", "<date>yesterday</date>", "<data>A*B=</data>",
          "<dict><key>a</key></dict>", "<dict><string>a</string></dict>",
          "<dict><key>a</key><key>b</key><true/></dict>", "<string>a<b/></string>", "<set/>",
          "<true/><true/>", "<string>\xFF</string>"}) {
        EXPECT_FALSE(parse("<plist>" + content + "</plist>")) << content;
    }
}

TEST(PropertyListXml, NestsFiveHundredAndTwelveLevels) {
    const auto nested = [](int levels) {
        std::string text;
        for (int i = 0; i < levels; ++i) text += "<array>";
        for (int i = 0; i < levels; ++i) text += "</array>";
        return text;
    };
    EXPECT_TRUE(parse(nested(512)));
    EXPECT_FALSE(parse(nested(513)));
    EXPECT_FALSE(parse(nested(200000)));
    // Ends hidden in comments don't count.
    std::string hidden;
    for (int i = 0; i < 1000; ++i) hidden += "<array><!-- </array> -->";
    EXPECT_FALSE(parse(hidden));
}

TEST(PropertyListBinary, ReadsEveryKind) {
    std::vector<std::string> objects{
        "\xDA\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A"
        "\x0B\x0C\x0D\x0E\x0F\x10\x11\x12\x13\x14"s};
    const std::string keys = "zabcdefghi";
    for (const char key : keys) objects.push_back("Q"s + key);
    for (const std::string& object :
         {"\x10\xFF"s, "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFB"s,
          "\x14\0\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, "\x23\x3F\xF8\0\0\0\0\0\0"s,
          "\x22\x3F\x40\0\0"s, "\x09"s, "\x33\x40\x24\0\0\0\0\0\0"s, "\x42\0\1"s,
          "\x64\0h\0\xE9\xD8\x3D\xDE\0"s, "\xA2\x01\x15"s, "\x80\x07"s}) {
        objects.push_back(object);
    }
    const std::optional<Value> value = parse(binary(objects));
    const Array items{255,  -5,       18446744073709551615.0, 1.5,   0.75,
                      true, Date{10}, Data{"\0\1"s},          "hé😀", Array{"z", Dictionary{{"CF$UID", 7}}}};
    Dictionary expected;
    for (std::size_t i = 0; i < items.size(); ++i) expected.set(std::string(1, keys[i]), items[i]);
    EXPECT_EQ(value, Value(expected)) << textOf(value);
    EXPECT_EQ(value->as<Dictionary>()->begin()->key, "z") << "the order of the file";
}

TEST(PropertyListBinary, TextIsAlwaysUtf8) {
    const auto value = parse(binary({"\xD2\1\2\3\3"s, "\x51\xE9", "\x51\xE8",
                                     "\x73"
                                     "a\xFF"
                                     "b"}));
    EXPECT_EQ(value, Value(Dictionary{{"é", "a\uFFFDb"}, {"è", "a\uFFFDb"}})) << textOf(value);
}

TEST(PropertyListBinary, RefusesWhatIsNotWhole) {
    std::vector<std::string> doubling;  // 300 bytes that stand for a tree of 2 to the 60th values
    for (char i = 1; i <= 60; ++i) doubling.push_back("\xA2"s + i + i);
    doubling.push_back("Qa");
    const std::pair<const char*, std::string> rows[] = {
        {"a list in itself", binary({"\xA1\0"s})},
        {"doubling", binary(doubling)},
        {"a reference beyond the objects", binary({"\xA1\x05"})},
        {"a count beyond the file", binary({"\x5F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"})},
        {"a list of a huge count", binary({"\xAF\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"})},
        {"a key that is no text", binary({"\xD1\x01\x02", "\x10\x01", "\x10\x02"})},
        {"an unknown kind", binary({"\xF0"})},
        {"only a beginning", "bplist00"},
    };
    for (const auto& [name, bytes] : rows) EXPECT_FALSE(parse(bytes)) << name;
}

TEST(PropertyList, DamagedBytesNeitherCrashNorGrow) {
    const std::string whole = binary({"\xD2\x01\x02\x03\x04", "Qz", "Qa", "\xA3\x01\x05\x06",
                                      "\x14\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1"s, "\x42\0\1"s, "\x61\0h"s});
    ASSERT_TRUE(parse(whole));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const std::string cut(whole.data(), length);  // of its own, so that a checker sees reading beyond
        EXPECT_FALSE(parse(cut)) << length;
    }
    const std::string written = xml(everything);
    for (std::size_t length = 0; length + 12 < written.size(); ++length) {
        EXPECT_FALSE(parse(std::string(written.data(), length))) << length;
    }
}

}  // namespace
}  // namespace morvane
