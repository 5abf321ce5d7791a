// app/properties_window.h: the properties of an installed item: what the window shows of it, and where each
// setting goes when it is saved.
//
// One thread at a time; saving reports failures in dialogs and blocks for the time that a new icon takes, or
// the end of a wrapper that runs: its engine would write the registry files anew when it ends, so that the
// user is asked before they are changed.
//
// Every file is replaced whole, so that a save that is killed leaves each of them old or new.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "library/apps_array.h"
#include "platform/result.h"
#include "platform/value.h"
#include "wrapper/launch_options.h"
#include "wrapper/port_manager.h"
#include "wrapper/sandbox.h"

namespace morvane {

class NSPropertiesWindow {
  public:
    using Kind = LibraryItem::Kind;
    /// The values are those of the radio buttons.
    enum class WindowType { fakeFullScreen = 0, fakeWindowed = 1, ofPort = 2 };

    struct Field {
        std::string text;
        bool enabled = true;
        bool operator==(const Field&) const = default;
    };
    struct CheckBox {
        bool on = false;
        bool enabled = true;
        bool operator==(const CheckBox&) const = default;
    };
    struct Shown {
        bool operator==(const Shown&) const = default;
        Field name, version, run;
        std::optional<ImageData> icon;
        StyledText description;
        WindowType windowType = WindowType::ofPort;
        bool windowTypeEnabled = false;
        LaunchOptions launch;  ///< the item's own, without those of the wrapper around a program
        bool launchEnabled = false;
        Sandbox sandbox = Sandbox::off;  ///< of a program: that of the wrapper around it, and fixed
        bool sandboxEnabled = false;
        CheckBox wineSystemTray, helveticaNeueFont, highQualityMode, functionKeys;
    };

    /// What happens elsewhere after a save. Each may be absent.
    struct Callbacks {
        /// The window shows something else now.
        std::function<void()> changed;
        /// The library's entry of that path is to be made afresh, and the library shown again.
        std::function<void(const std::string& path, CustomEXE isCustomEXE)> refresh;
        /// The library's entry of the old place goes, the new place is added.
        std::function<void(const std::string&path)> removeFromLibrary, addToLibrary;
        /// The game page shows the item at that path again.
        std::function<void(const std::string& path)> reloadItem;
    };

    explicit NSPropertiesWindow(Callbacks callbacks = Callbacks());
    ~NSPropertiesWindow();
    NSPropertiesWindow(const NSPropertiesWindow&) = delete;
    NSPropertiesWindow& operator=(const NSPropertiesWindow&) = delete;

    /// A failure when no item of the three kinds lies there; the window is unchanged then. A link, as it lies
    /// beside a wrapper, stands for the application that it leads to. Who fills the window is not told that
    /// it has changed.
    [[nodiscard]] Result<> setDataFromWrapperAtPath(const std::string& path);

    [[nodiscard]] const Shown& shown() const { return shown_; }
    [[nodiscard]] Kind kind() const { return item_ ? item_->kind() : Kind::wrapper; }
    [[nodiscard]] const std::string& wrapperPath() const { return wrapperPath_; }
    /// The wrapper that holds the registry and drive C.
    [[nodiscard]] const std::string& mainWrapperPath() const { return mainWrapperPath_; }

    /// Whether the user has changed anything that is not saved.
    [[nodiscard]] bool isChanged() const;
    enum class Closing { save, discard, stay };
    /// What becomes of the changes when the user closes the window: asks where there are any.
    [[nodiscard]] Closing closing() const;

    // What the user does. False, and nothing changes, for a control that is disabled, and while `isSaving`.
    bool typeName(const std::string& text);
    bool typeVersion(const std::string& text);
    bool typeRunCommand(const std::string& text);
    bool editDescription(StyledText text);
    bool chooseWindowType(WindowType type);
    bool switchWineSystemTray(bool on);
    bool switchHelveticaNeueFont(bool on);
    bool switchHighQualityMode(bool on);
    bool switchFunctionKeys(bool on);
    /// Programs that run already stay in the one that they are in, and no others can join them.
    bool chooseSandbox(Sandbox mode);
    /// Why this machine can't make a sandbox, in words for the user. Runs a program for some milliseconds.
    [[nodiscard]] static std::optional<std::string> sandboxObstacle();
    /// Sets a variable of the program's environment; nothing removes it. A failure, and nothing changes, for a
    /// name or a value that can't be, and where the above are false.
    Result<> setVariable(const std::string& name, const std::optional<std::string>& value);
    /// The command before the program; an empty one is none. A failure as above.
    Result<> typeCommandBefore(const std::string& command);
    /// A picture dropped on the icon, or nothing when it is dragged away. False for what is no picture.
    bool changeIcon(std::optional<ImageData> picture);
    /// Asks for a program and puts its command into the run field.
    void searchNewRunPath();

    /// False when something could not be written or renamed, which the user has been told; the rest is saved.
    /// A name that no folder can have is refused before anything is written. What the user has not changed is
    /// not written. False, with nothing written, also when the wrapper runs and is not to be stopped.
    bool saveDataToWrapper();
    /// Main thread: the same, in the background. Nothing happens while it goes on already. The callbacks come on
    /// the main thread, and the completion there, with what `saveDataToWrapper` gives; also when the window is gone
    /// by then, but for `changed`.
    void save(std::function<void(bool saved)> completion);
    [[nodiscard]] bool isSaving() const { return isSaving_; }
    /// Whether the user has called off the last save.
    [[nodiscard]] bool isSaveCancelled() const { return isSaveCancelled_; }

  private:
    [[nodiscard]] Callbacks callbacksOfWorker() const;
    [[nodiscard]] NSPortManager itemStore() const;
    /// As the item's settings file has it, or the key's own value.
    template <class T>
    [[nodiscard]] T setting(const WrapperKey<T>& key) const;
    [[nodiscard]] std::optional<std::string> iconPath() const;

    [[nodiscard]] Field getGameRunPath() const;
    void fillRegistryOptions();
    [[nodiscard]] WindowType windowTypeOf(const NSPortManager& port) const;
    bool change(CheckBox& box, bool on);
    bool change(Field& field, const std::string& text);
    void tellChanged() const;

    /// `WrapperPathNewLocation`: where the item will lie, or why its name can't be.
    [[nodiscard]] Result<std::string> newLocation() const;
    /// Whether the registry files are not going to be written anew by an engine that ends: asks, and stops
    /// it.
    bool isRegistryAtRest();
    bool saveIconWithImage() const;
    bool saveRunPath(const std::string& text) const;
    /// A program on another drive is started by a batch file on drive C. The path for the settings, or
    /// nothing after a reported failure.
    [[nodiscard]] std::optional<std::string> writeBatchFile(const std::string& text) const;
    bool saveTexts() const;
    bool saveLaunchOptions() const;
    bool saveSandbox() const;
    [[nodiscard]] Result<> launchCanChange() const;
    bool saveDescription() const;
    bool moveTo(const std::string& location);
    bool saveWineSystemTrayAtPort(const NSPortManager& port) const;
    bool saveHelveticaNeueFontAtPort(const NSPortManager& port) const;
    bool saveHighQualityModeAtPort(const NSPortManager& port) const;
    bool saveWindowType() const;
    void saveWindowTypeAtPort(NSPortManager& port) const;
    static void switchFakeResolutionAtPort(NSPortManager& port);
    static void saveFakeResolutionAtPort(NSPortManager& port, bool fullscreen);
    static void saveOriginalResolutionAtPort(NSPortManager& port);

    Callbacks callbacks_;
    std::optional<LibraryItem> item_;  ///< what the window shows; nothing before it is filled
    std::string wrapperPath_, mainWrapperPath_;
    Shown shown_, filled_;  ///< now, and as the item has it
    bool isSaveCancelled_ = false;
    bool isSaving_ = false;
    const std::shared_ptr<NSPropertiesWindow*> self_;  ///< holds nothing once the window is gone
};

/// Also true for an engine that is not known. Any thread.
[[nodiscard]] bool isHighQualityModeCompatibleWithEngine(const std::optional<std::string>& engine);

}  // namespace morvane
