#include "building/configured_wrapper.h"

namespace morvane {
namespace {

using testing::ConfiguredWrapper;

using SaveCloseSafely = ConfiguredWrapper;

TEST_F(SaveCloseSafely, ChangesOneCharacterAfterTheFirstChoice) {
    struct Row {
        const char *before, *safely, *atOnce;
    };
    for (const Row& row : {
             Row{"a\ncaskeryAppChoice=0\nb", "a\ncaskeryAppChoice=2\nb", "a\ncaskeryAppChoice=1\nb"},
             Row{"caskeryAppChoice=\"x\" caskeryAppChoice=0", "caskeryAppChoice=2x\" caskeryAppChoice=0",
                 "caskeryAppChoice=1x\" caskeryAppChoice=0"},
             Row{"no choice here", "no choice here", "no choice here"},
             Row{"caskeryAppChoice=", "caskeryAppChoice=", "caskeryAppChoice="},
         }) {
        put(wrapper + layout::quitScript, row.before, true);
        onWorker([&] { EXPECT_TRUE(creation->saveCloseSafely(true, wrapper)); });
        EXPECT_EQ(get(wrapper + layout::quitScript), row.safely);
        put(wrapper + layout::quitScript, row.before, true);
        onWorker([&] { EXPECT_TRUE(creation->saveCloseSafely(false, wrapper)); });
        EXPECT_EQ(get(wrapper + layout::quitScript), row.atOnce);
        EXPECT_TRUE(files::isExecutable(wrapper + layout::quitScript));
    }
}

using SaveCompany = ConfiguredWrapper;

TEST_F(SaveCompany, IsOneValidLineOrNoFile) {
    const std::string file = wrapper + layout::infoStrings;
    struct Row {
        std::optional<std::string> company;
        std::optional<std::string> contents;
    };
    for (const Row& row : {
             Row{"ACME", R"(NSHumanReadableCopyright="ACME";)"},
             Row{"© 2011 Größe & Söhne", R"(NSHumanReadableCopyright="© 2011 Größe & Söhne";)"},
             Row{"A\"; CFBundleName=\"B\nC\\", R"(NSHumanReadableCopyright="A\"; CFBundleName=\"B\nC\\";)"},
             Row{"", std::nullopt},
             Row{std::nullopt, std::nullopt},
         }) {
        put(file, "old");
        onWorker([&] { EXPECT_TRUE(creation->saveCompany(row.company, wrapper)); });
        EXPECT_EQ(exists(file), row.contents.has_value());
        if (row.contents) {
            EXPECT_EQ(get(file), *row.contents);
        }
    }
}

}  // namespace
}  // namespace morvane
