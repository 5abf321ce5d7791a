#include "platform/value.h"

#include <gtest/gtest.h>

namespace morvane {
namespace {

std::string keysOf(const Dictionary& dictionary) {
    std::string keys;
    for (const auto& [key, value] : dictionary) keys += key;
    return keys;
}

TEST(Dictionary, KeepsTheOrderOfFirstSettingThroughChangesAndRemovals) {
    Dictionary dictionary{{"z", 1}, {"a", 2}, {"m", 3}, {"z", 4}};
    EXPECT_EQ(keysOf(dictionary), "zam");
    EXPECT_EQ(*dictionary.get<std::int64_t>("z"), 4);

    dictionary.erase("a");
    dictionary.erase("missing");
    dictionary.set("b", 5);
    dictionary.set("m", 6);
    EXPECT_EQ(keysOf(dictionary), "zmb");
    EXPECT_EQ(*dictionary.get<std::int64_t>("m"), 6);
    EXPECT_EQ(*dictionary.get<std::int64_t>("b"), 5);
    EXPECT_FALSE(dictionary.contains("a"));

    dictionary.set("a", 7);
    EXPECT_EQ(keysOf(dictionary), "zmba");
}

TEST(Dictionary, CopiesAreOfTheirOwn) {
    Dictionary original{{"list", Array{1, "two"}}};
    Dictionary copy = original;
    copy.find("list")->as<Array>()->push_back(3);
    copy.set("more", true);
    EXPECT_EQ(original, (Dictionary{{"list", Array{1, "two"}}}));
    original = std::move(copy);
    EXPECT_EQ(original, (Dictionary{{"more", true}, {"list", Array{1, "two", 3}}}));
}

TEST(Dictionary, IsEqualWhateverTheOrder) {
    const Dictionary dictionary{{"a", 1}, {"b", 2}};
    EXPECT_EQ(dictionary, (Dictionary{{"b", 2}, {"a", 1}}));
    EXPECT_NE(dictionary, (Dictionary{{"a", 1}}));
    EXPECT_NE(dictionary, (Dictionary{{"a", 1}, {"c", 2}}));
    EXPECT_NE(dictionary, (Dictionary{{"a", 1}, {"b", 2.0}}));
}

TEST(Dictionary, GetsAValueOfTheWantedKindOnly) {
    const Dictionary dictionary{{"flag", true}};
    EXPECT_NE(dictionary.get<bool>("flag"), nullptr);
    EXPECT_EQ(dictionary.get<std::int64_t>("flag"), nullptr);
    EXPECT_EQ(dictionary.get<bool>("other"), nullptr);
}

TEST(Value, TellsItsKind) {
    const std::pair<Value, std::string_view> rows[] = {
        {Value(), "null"},
        {"a", "text"},
        {1, "integer"},
        {1.0, "real"},
        {false, "boolean"},
        {Date{}, "date"},
        {Data{}, "data"},
        {Array{}, "list"},
        {Dictionary{}, "dictionary"},
        {ImageData{}, "image"},
        {StyledText{}, "styled text"},
    };
    for (const auto& [value, kind] : rows) EXPECT_EQ(value.kind(), kind);
}

}  // namespace
}  // namespace morvane
