#include "building/settings_writers.h"
#include "building/configured_wrapper.h"

namespace morvane {
namespace {

using SettingsWriters = testing::ConfiguredWrapper;

TEST_F(SettingsWriters, CloseSafelyChangesOneCharacterAfterTheFirstChoice) {
    const std::string script = wrapper + layout::quitScript;
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
        for (const bool safely : {true, false}) {
            put(script, row.before, true);
            onWorker([&] { EXPECT_TRUE(saveCloseSafely(safely, Wrapper(wrapper))); });
            EXPECT_EQ(get(script), safely ? row.safely : row.atOnce);
            EXPECT_TRUE(files::isExecutable(script));
        }
    }
}

TEST_F(SettingsWriters, CompanyIsOneValidLineOrNoFile) {
    using Text = std::optional<std::string>;
    const std::string file = wrapper + layout::infoStrings;
    const std::pair<Text, Text> rows[] = {
        {"© 2011 Größe & Söhne", R"(NSHumanReadableCopyright="© 2011 Größe & Söhne";)"},
        {"A\"; CFBundleName=\"B\nC\\", R"(NSHumanReadableCopyright="A\"; CFBundleName=\"B\nC\\";)"},
        {"", std::nullopt},
        {std::nullopt, std::nullopt},
    };
    for (const auto& [company, contents] : rows) {
        put(file, "old");
        EXPECT_TRUE(saveCompany(company, Wrapper(wrapper)));
        EXPECT_EQ(exists(file) ? Text(get(file)) : std::nullopt, contents);
    }
}

}  // namespace
}  // namespace morvane
