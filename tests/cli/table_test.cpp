#include "cli/table.h"

#include <gtest/gtest.h>

#include "platform/json.h"

namespace morvane::cli {
namespace {

const Table games{{{"name", "Name"}, {"size", "Size"}, {"sources", "Sources"}},
                  {{"Über Spiel", 7, Array{"Steam", "GOG"}}, {"two\nlines\x1b[31m", 1200}}};

TEST(TableText, AlignsForAPersonAndSeparatesByTabsForAProgram) {
    EXPECT_EQ(tableText(games, Reader::person),
              "Name                Size  Sources\n"
              "Über Spiel             7  Steam, GOG\n"
              "two\\nlines\\x1b[31m  1200\n");
    EXPECT_EQ(tableText(games, Reader::program), "Über Spiel\t7\tSteam, GOG\ntwo\\nlines\\x1b[31m\t1200\t\n");
    EXPECT_EQ(jsonText(tableJson(games)), R"([{"name":"Über Spiel","size":7,"sources":["Steam","GOG"]},)"
                                          R"({"name":"two\nlines\u001b[31m","size":1200,"sources":null}])");
}

TEST(RecordText, NamesEachProperty) {
    const Record record{
        {{"name", "Name"}, "A\tB"}, {{"tray", "System tray"}, true}, {{"run", "Run"}, Value()}};
    EXPECT_EQ(recordText(record, Reader::person), "Name:        A\\tB\nSystem tray: yes\nRun:\n");
    EXPECT_EQ(recordText(record, Reader::program), "name\tA\\tB\ntray\tyes\nrun\t\n");
    EXPECT_EQ(jsonText(recordJson(record)), R"({"name":"A\tB","tray":true,"run":null})");
}

}  // namespace
}  // namespace morvane::cli
