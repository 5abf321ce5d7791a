#include "building/settings_writers.h"
#include "building/configured_wrapper.h"

namespace morvane {
namespace {

using SettingsWriters = testing::ConfiguredWrapper;

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
