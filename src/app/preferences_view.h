// app/preferences_view.h: the preferences window: what it shows, and what each control does. Main thread.
//
// Every control stores its value at once; the store is on disk when the action returns.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/settings.h"
#include "platform/value.h"

namespace morvane {

/// The pictures of a theme, each in its well.
enum class ThemeImage : std::size_t { window, actionButton, bottomButton };
enum class ImageFormat { jpeg, png };

struct ThemeFile {
    ThemeImage image;
    const char* name;
    ImageFormat format;
};
inline constexpr std::array<ThemeFile, 3> themeFiles{
    {{ThemeImage::window, "window.jpg", ImageFormat::jpeg},
     {ThemeImage::actionButton, "b_azul.png", ImageFormat::png},
     {ThemeImage::bottomButton, "b_azul_r.png", ImageFormat::png}}};

/// Whether windows are light or dark; `system`: as the desktop is.
enum class Appearance { system, light, dark };
/// As the setting says.
[[nodiscard]] Appearance storedAppearance();

class NSPreferencesView {
  public:
    /// The image wells, by `ThemeImage`.
    using ThemeImages = std::array<std::optional<ImageData>, themeFiles.size()>;
    /// A stepper and the number field that shows it.
    struct Stepper {
        std::int64_t value = 0;
        std::string field;
        std::int64_t least = 0, most = 0;
    };
    struct Shown {
        bool checksForUpdates = false, developerMode = false, sendsCrashReports = false, hidesDock = false,
             showsGamesInMenu = false;
        Appearance appearance = Appearance::system;
        Stepper descriptionFontSize, webViewZoom;
        ThemeImages themeImages;
    };
    struct Callbacks {
        /// The window shows something else now.
        std::function<void()> changed;
        /// The look for updates is on or off from now on.
        std::function<void(bool on)> automaticallyChecksForUpdates;
        std::function<void()> appearanceChanged;
        /// "UpdateDockInGridView": the grid shows or hides its shelf.
        std::function<void()> updateDockInGridView;
        /// The web views show their text anew (`reloadWebViewTextZoom`).
        std::function<void()> webViewZoomChanged;
    };

    /// Writes missing defaults and fills the window, without a word.
    explicit NSPreferencesView(Callbacks callbacks);

    [[nodiscard]] const Shown& shown() const { return shown_; }

    void selectedDeveloperMode(bool on);
    void selectedAutomaticCrashLog(bool on);
    void chooseAppearance(Appearance appearance);
    // A value beyond the bounds of the stepper counts as the nearest.
    void changeFontSizeValue(std::int64_t value);
    void changeWebViewZoom(std::int64_t value);
    void atomaticallyCheckForUpdates(bool on);
    void hideDockInGridViewAction(bool on);
    /// Whether games stand in the desktop's menu; it follows in the background.
    void showGamesInMenu(bool on);

    /// A picture dropped into a well. False, and the well is unchanged, for what is no picture.
    bool putThemeImage(ThemeImage well, const ImageData& picture);
    /// Saves the wells that hold a picture, and tells that the next start shows them. False when a file could
    /// not be written, which is not reported otherwise. Blocks for as long as the pictures take.
    bool applyNewTheme();
    /// The same in the background; the completion comes on the main thread.
    static void applyNewTheme(const ThemeImages& images, std::function<void(bool saved)> completion);
    /// False when a file could not be written; it is then as it was.
    bool resetTheme();

    static bool saveThemeImage(const ImageData& image, std::string_view name, ImageFormat type);
    /// Puts the default in place of the user's; the picture that is there then.
    /// Whether the picture in use is the one that comes with the program, or none. Any thread; reads both.
    [[nodiscard]] static bool isOriginalThemeImage(ThemeImage image);
    [[nodiscard]] static std::optional<ImageData> copyOriginalThemeImageNamed(const std::string& name);

  private:
    static bool saveThemeImages(const ThemeImages& images);
    template <class T>
    void store(const settings::Key<T>& key, T value);
    void tellChanged() const;

    Callbacks callbacks_;
    Shown shown_;
};

/// A web view, as far as the size of its text goes.
class WebTextSize {
  public:
    virtual ~WebTextSize() = default;
    virtual void makeTextStandardSize() = 0;
    virtual void makeTextLarger() = 0;
};
/// As many steps larger than standard as the setting says.
void reloadWebViewTextZoom(WebTextSize& view);

}  // namespace morvane
