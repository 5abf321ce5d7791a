#include "wrapper/launch_options.h"

#include <gtest/gtest.h>

namespace morvane {
namespace {

using Words = std::vector<std::string>;

TEST(LaunchOptions, WordsAreSeparatedAsInAShell) {
    const struct {
        const char* command;
        Words words;
    } rows[] = {
        {"", {}},
        {"  ", {}},
        {"gamescope -f --", {"gamescope", "-f", "--"}},
        {" a\t b ", {"a", "b"}},
        {R"(env "A B" 'c d')", {"env", "A B", "c d"}},
        {R"("" '')", {"", ""}},
        {R"(a\ b "q\"t\\" '\' x"y"z)", {"a b", "q\"t\\", "\\", "xyz"}},
        {R"("\n" $HOME `ls` *)", {"\\n", "$HOME", "`ls`", "*"}},
    };
    for (const auto& row : rows) {
        const auto words = wordsOfCommand(row.command);
        ASSERT_TRUE(words) << row.command;
        EXPECT_EQ(*words, row.words) << row.command;
    }
    for (const char* bad : {"a 'b", "\"", "a \"b\\\"", "a\nb", "\xff"})
        EXPECT_FALSE(wordsOfCommand(bad)) << bad;
}

TEST(LaunchOptions, VariablesThatCannotBeAreRefused) {
    for (const char* name : {"A", "DXVK_HUD", "ProgramFiles(x86)", "ä"})
        EXPECT_TRUE(checkVariable(name, "a=b 'c'\t\xC3\xA4")) << name;
    for (const char* name : {"", "A=B", "=", "A B", "A\n", "\xff", "WINEPREFIX", "WINESERVER"})
        EXPECT_FALSE(checkVariable(name, "x")) << name;
    for (const char* value : {"a\nb", "\x01", "\xff"}) EXPECT_FALSE(checkVariable("A", value)) << value;
}

TEST(LaunchOptions, AProgramHasItsWrappersWhereItHasNoneOfItsOwn) {
    const auto of = [](LaunchOptions options) {
        Dictionary settings{{"kept", 1}};
        putLaunchOptions(options, settings);
        EXPECT_TRUE(settings.contains("kept"));
        EXPECT_EQ(launchOptionsIn(settings), options);
        return settings;
    };
    const Dictionary wrapper = of({{{"A", "1"}, {"B", "1"}}, "mangohud"}), none = of({}),
                     program = of({{{"B", "2"}}, ""});
    EXPECT_EQ(none.size(), 1U);
    EXPECT_EQ(launchOptionsOf(wrapper, nullptr), launchOptionsIn(wrapper));
    EXPECT_EQ(launchOptionsOf(none, &wrapper), launchOptionsIn(wrapper));
    EXPECT_EQ(launchOptionsOf(program, &wrapper), (LaunchOptions{{{"A", "1"}, {"B", "2"}}, ""}));

    Dictionary spoilt{
        {"Morvane Environment", Dictionary{{"A=B", "x"}, {"WINEPREFIX", "/x"}, {"N", 1}, {"C", "x"}}},
        {"Morvane Command Before", 5}};
    EXPECT_EQ(launchOptionsIn(spoilt), (LaunchOptions{{{"C", "x"}}, std::nullopt}));
    spoilt.set("Morvane Environment", "text");
    EXPECT_EQ(launchOptionsIn(spoilt), LaunchOptions());
}

}  // namespace
}  // namespace morvane
