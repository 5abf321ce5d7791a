#include "app/preferences_view.h"

#include <algorithm>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/threads.h"
#include "library/icon_cache.h"
#include "library/menu_entries.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/pictures.h"
#include "wrapper/layout.h"

namespace morvane {
namespace {

void writeMissingSettings() {
    for (const settings::Setting* setting : settings::all()) {
        if (!setting->isWrittenAtFirst || settings::stored(*setting)) continue;
        settings::store(*setting, setting->kind == settings::Kind::boolean
                                      ? Value(setting->fallback != 0)
                                      : Value(static_cast<std::int64_t>(setting->fallback)));
    }
}

std::string themePath(std::string_view name) {
    return layout::applicationSupportFolder() + "/" + std::string(name);
}

std::optional<ImageData> themeImageNamed(std::string_view name) {
    return icon_cache::imageFromFile(themePath(name));
}

bool writeThemeFile(std::string_view name, std::string_view bytes) {
    if (!files::createFolder(layout::applicationSupportFolder(), true)) return false;
    return files::write(themePath(name), bytes, files::Atomically::yes).has_value();
}

std::string restartText() {
    return localized("Restart %@ so the changes will take effect", {"Morvane"});
}

void tellOfNewTheme() {
    MVAlert::showAlertMessage(localized("%@ %@", {localized("New theme applied!"), restartText()}),
                              "Success");
}

NSPreferencesView::Stepper stepper(const settings::Setting& setting, std::int64_t value) {
    return {.value = value,
            .field = filled("%d", {std::to_string(value)}),
            .least = setting.least,
            .most = setting.most};
}

std::int64_t bounded(const settings::Setting& setting, std::int64_t value) {
    return std::clamp(value, setting.least, setting.most);
}

}  // namespace

Appearance storedAppearance() {
    const auto isDark = settings::find(settings::useVibrantDarkStyle);
    if (!isDark) return Appearance::system;
    return *isDark ? Appearance::dark : Appearance::light;
}

NSPreferencesView::NSPreferencesView(Callbacks callbacks) : callbacks_(std::move(callbacks)) {
    writeMissingSettings();
    shown_.checksForUpdates = settings::get(settings::automaticUpdates);
    shown_.developerMode = settings::get(settings::developerMode);
    shown_.sendsCrashReports = settings::get(settings::automaticallySendCrashLogs);
    shown_.hidesDock = settings::get(settings::hideDockInGridView);
    shown_.showsGamesInMenu = settings::get(settings::menuEntries);
    shown_.descriptionFontSize =
        stepper(settings::descriptionFontSize, settings::get(settings::descriptionFontSize));
    shown_.webViewZoom =
        stepper(settings::webViewIncreaseTextSize, settings::get(settings::webViewIncreaseTextSize));
    shown_.appearance = storedAppearance();
    for (const ThemeFile& file : themeFiles) {
        shown_.themeImages[static_cast<std::size_t>(file.image)] = themeImageNamed(file.name);
    }
}

void NSPreferencesView::tellChanged() const {
    if (callbacks_.changed) callbacks_.changed();
}

template <class T>
void NSPreferencesView::store(const settings::Key<T>& key, T value) {
    settings::set(key, value);
    tellChanged();
}

void NSPreferencesView::selectedDeveloperMode(bool on) {
    shown_.developerMode = on;
    store(settings::developerMode, on);
    MVAlert::showAlertMessage(restartText(), "Warning");
}

void NSPreferencesView::selectedAutomaticCrashLog(bool on) {
    shown_.sendsCrashReports = on;
    store(settings::automaticallySendCrashLogs, on);
}

void NSPreferencesView::chooseAppearance(Appearance appearance) {
    shown_.appearance = appearance;
    if (appearance == Appearance::system) {
        settings::remove(settings::useVibrantDarkStyle);
        tellChanged();
    } else {
        store(settings::useVibrantDarkStyle, appearance == Appearance::dark);
    }
    if (callbacks_.appearanceChanged) callbacks_.appearanceChanged();
}

void NSPreferencesView::changeFontSizeValue(std::int64_t value) {
    shown_.descriptionFontSize =
        stepper(settings::descriptionFontSize, bounded(settings::descriptionFontSize, value));
    store(settings::descriptionFontSize, shown_.descriptionFontSize.value);
}

void NSPreferencesView::changeWebViewZoom(std::int64_t value) {
    shown_.webViewZoom =
        stepper(settings::webViewIncreaseTextSize, bounded(settings::webViewIncreaseTextSize, value));
    store(settings::webViewIncreaseTextSize, shown_.webViewZoom.value);
    if (callbacks_.webViewZoomChanged) callbacks_.webViewZoomChanged();
}

void NSPreferencesView::atomaticallyCheckForUpdates(bool on) {
    shown_.checksForUpdates = on;
    store(settings::automaticUpdates, on);
    if (callbacks_.automaticallyChecksForUpdates) callbacks_.automaticallyChecksForUpdates(on);
}

void NSPreferencesView::hideDockInGridViewAction(bool on) {
    shown_.hidesDock = on;
    store(settings::hideDockInGridView, on);
    if (callbacks_.updateDockInGridView) callbacks_.updateDockInGridView();
}

void NSPreferencesView::showGamesInMenu(bool on) {
    shown_.showsGamesInMenu = on;
    store(settings::menuEntries, on);
    menu_entries::settleLater();
}

// ---- Themes

bool NSPreferencesView::putThemeImage(ThemeImage well, const ImageData& picture) {
    auto image = icon_cache::imageFromBytes(picture.bytes);
    if (!image) return false;
    shown_.themeImages[static_cast<std::size_t>(well)] = std::move(image);
    tellChanged();
    return true;
}

bool NSPreferencesView::applyNewTheme() {
    const bool saved = saveThemeImages(shown_.themeImages);
    tellOfNewTheme();
    return saved;
}

void NSPreferencesView::applyNewTheme(const ThemeImages& images, std::function<void(bool saved)> completion) {
    MVThread::dispatchQueueWithName("app.morvane.applyNewTheme", Priority::normal,
                                    [images, completion = std::move(completion)] {
                                        const bool saved = saveThemeImages(images);
                                        MVThread::dispatchBlockInMainQueue([completion, saved] {
                                            tellOfNewTheme();
                                            if (completion) completion(saved);
                                        });
                                    });
}

bool NSPreferencesView::saveThemeImages(const ThemeImages& images) {
    bool saved = true;
    for (const ThemeFile& file : themeFiles) {
        const auto& image = images[static_cast<std::size_t>(file.image)];
        // A picture that comes from the file itself would only lose by another encoding.
        if (image && image != themeImageNamed(file.name))
            saved &= saveThemeImage(*image, file.name, file.format);
    }
    return saved;
}

bool NSPreferencesView::resetTheme() {
    bool reset = true;
    for (const ThemeFile& file : themeFiles) {
        auto image = copyOriginalThemeImageNamed(file.name);
        reset &=
            image && *image == icon_cache::imageFromFile(files::join(host().folders.resources, file.name));
        shown_.themeImages[static_cast<std::size_t>(file.image)] = std::move(image);
    }
    tellChanged();
    return reset;
}

bool NSPreferencesView::saveThemeImage(const ImageData& image, std::string_view name, ImageFormat type) {
    const auto picture = pictures::decode(image.bytes);
    if (!picture) return false;
    return writeThemeFile(
        name, type == ImageFormat::jpeg ? pictures::encodeJpeg(*picture) : pictures::encodePng(*picture));
}

bool NSPreferencesView::isOriginalThemeImage(ThemeImage image) {
    const char* name = themeFiles.at(static_cast<std::size_t>(image)).name;
    const auto used = themeImageNamed(name);
    return !used || *used == icon_cache::imageFromFile(files::join(host().folders.resources, name));
}

std::optional<ImageData> NSPreferencesView::copyOriginalThemeImageNamed(const std::string& name) {
    // In one step: a copy that fails leaves the user's picture.
    const auto original = files::read(files::join(host().folders.resources, name));
    if (original) static_cast<void>(writeThemeFile(name, *original));
    return themeImageNamed(name);
}

void reloadWebViewTextZoom(WebTextSize& view) {
    constexpr std::int64_t most = 20;
    view.makeTextStandardSize();
    const std::int64_t steps = std::min(settings::get(settings::webViewIncreaseTextSize), most);
    for (std::int64_t step = 0; step < steps; ++step) view.makeTextLarger();
}

}  // namespace morvane
