#include "platform/json.h"

#include <gtest/gtest.h>

#include <limits>

namespace morvane {
namespace {

TEST(JsonText, WritesEveryKind) {
    const struct {
        Value value;
        std::string json;
    } rows[] = {
        {Value(), "null"},
        {"a\"b\\\n\x01 é", R"("a\"b\\\n\u0001 é")"},
        {"\b\f\n\r\t/\x1F\x7F 1234567 \xC3\xA9", "\"\\b\\f\\n\\r\\t/\\u001f\x7F 1234567 \u00e9\""},
        {"12345678\xC3", "\"12345678\uFFFD\""},
        {"\xFFz", "\"\uFFFDz\""},
        {std::numeric_limits<double>::infinity(), "null"},
        {Date{86399.9}, "\"2001-01-01T23:59:59Z\""},
        {Date{-1}, "\"2000-12-31T23:59:59Z\""},
        {Date{1e300}, "null"},
        {Data{"hi!"}, "\"aGkh\""},
        {Dictionary{{"z", -7}, {"a", Array{2.5, true, Array{}}}}, R"({"z":-7,"a":[2.5,true,[]]})"},
        {ImageData{"12345", 64, 32}, R"({"kind":"image","width":64.0,"height":32.0,"bytes":5})"},
        {StyledText{"ab", {{2, true, false, "Helvetica", 12, ""}}},
         R"({"text":"ab","runs":[{"length":2,"bold":true,"italic":false,"font":"Helvetica","fontSize":12.0}]})"},
    };
    for (const auto& row : rows) EXPECT_EQ(jsonText(row.value), row.json);
    const Dictionary nested{{"a", Array{1, Array{}, Dictionary{}}}, {"b\"", StyledText{}}};
    EXPECT_EQ(jsonText(nested, JsonLayout::indented), R"({
  "a": [
    1,
    [],
    {}
  ],
  "b\"": {
    "text": "",
    "runs": []
  }
})");
}

}  // namespace
}  // namespace morvane
