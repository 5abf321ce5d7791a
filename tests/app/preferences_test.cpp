#include "app/preferences_view.h"
#include "app/settings_by_name.h"
#include "foundation/settings.h"
#include "platform/pictures.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

class Preferences : public testing::TestMachine {
  protected:
    [[nodiscard]] static ImageData picture(std::uint8_t red) {
        return {
            pictures::encodePng({2, 2, {red, 0, 0, 255, red, 0, 0, 255, red, 0, 0, 255, red, 0, 0, 255}})};
    }

    const std::string support = home + "/Library/Application Support/Morvane/";
    std::vector<std::string> told;
    NSPreferencesView::Callbacks callbacks{
        .changed = {},
        .automaticallyChecksForUpdates = [this](bool on) { told.push_back(on ? "checks" : "no checks"); },
        .updateDockInGridView = [this] { told.push_back("dock"); },
        .webViewZoomChanged = [this] { told.push_back("zoom"); }};
};

TEST_F(Preferences, AThemeIsAppliedAndReset) {
    NSPreferencesView view(callbacks);
    EXPECT_FALSE(view.putThemeImage(ThemeImage::window, {"no picture"}));
    ASSERT_TRUE(view.putThemeImage(ThemeImage::window, picture(200)));
    ASSERT_TRUE(view.putThemeImage(ThemeImage::bottomButton, picture(100)));
    ui.expect("New theme applied! Restart Morvane so the changes will take effect").titleIs("Success");
    EXPECT_TRUE(view.applyNewTheme());
    EXPECT_EQ(pictures::kindOf(get(support + "window.jpg")), "JPEG");
    EXPECT_EQ(pictures::kindOf(get(support + "b_azul_r.png")), "PNG");
    EXPECT_TRUE(NSPreferencesView(callbacks).shown().themeImages[0]);

    const std::string before = get(support + "window.jpg");
    NSPreferencesView again(callbacks);
    ui.expect("New theme applied!");
    std::optional<bool> saved;
    NSPreferencesView::applyNewTheme(again.shown().themeImages, [&](bool done) { saved = done; });
    machine->mainQueue.runUntil([&] { return saved.has_value(); });
    EXPECT_TRUE(*saved);
    EXPECT_EQ(get(support + "window.jpg"), before);

    EXPECT_TRUE(again.resetTheme());
    for (const ThemeFile& file : themeFiles)
        EXPECT_EQ(get(support + file.name), get(machine->folders.resources + "/" + file.name)) << file.name;
    EXPECT_TRUE(again.shown().themeImages[1]);
}

TEST_F(Preferences, WordsBecomeValuesOfTheirSetting) {
    struct Row {
        const char* key;
        std::vector<std::string> words;
        std::optional<Value> value;  // nothing: refused
    };
    const Row rows[] = {
        {"developer mode", {"Yes"}, Value(1)},
        {settings::useOldLibrary.key, {"off"}, Value(false)},
        {settings::useOldLibrary.key, {"maybe"}, {}},
        {settings::descriptionFontSize.key, {"14"}, Value(14)},
        {settings::descriptionFontSize.key, {"14pt"}, {}},
        {settings::descriptionFontSize.key, {"99999999999999999999"}, {}},
        {settings::autoOrderAppsList.key, {"2"}, {}},
        {settings::collectionViewIconsScale.key, {"1.5"}, Value(1.5)},
        {settings::collectionViewIconsScale.key, {"nan"}, {}},
        {settings::mainFolder.key, {home, folder.path + "/"}, Value(Array{home + "/", folder.path + "/"})},
        {settings::mainFolder.key, {"/no/such/folder"}, {}},
        {settings::mainFolder.key, {}, {}},
        {settings::lastRunningDay.key, {"2020-01-01"}, {}},
        {settings::appList.key, {"x"}, {}},
        {settings::catalogueSite.key, {"http://a/"}, Value("http://a/")},
    };
    for (const Row& row : rows) {
        const auto* setting = settings::named(row.key);
        ASSERT_NE(setting, nullptr) << row.key;
        const auto value = settings::valueFor(*setting, row.words);
        EXPECT_EQ(value ? std::optional(*value) : std::nullopt, row.value) << row.key;
    }
    EXPECT_EQ(settings::named("no such"), nullptr);
    EXPECT_EQ(settings::reading(*settings::named(settings::collectionViewIconsScale.key)), Value(1.0));
    EXPECT_EQ(settings::reading(settings::automaticallySendCrashLogs), Value(true));
}

TEST_F(Preferences, WindowsAreAsTheDesktopUnlessTheUserChooses) {
    callbacks.appearanceChanged = [this] { told.emplace_back("appearance"); };
    NSPreferencesView view(callbacks);
    EXPECT_EQ(view.shown().appearance, Appearance::system);
    for (const Appearance chosen : {Appearance::dark, Appearance::light, Appearance::system}) {
        view.chooseAppearance(chosen);
        EXPECT_EQ(storedAppearance(), chosen);
    }
    EXPECT_FALSE(settings::stored(settings::useVibrantDarkStyle));
    EXPECT_EQ(told.size(), 3U);
}

}  // namespace
}  // namespace morvane
