// wrapper/wrapper_settings.h: the settings of a wrapper: the one table of their keys. Any thread.
//
// A settings file may hold a value of another type than the key's: it counts as missing.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/value.h"

namespace morvane {

enum class SettingsFile {
    info,  ///< Info.plist, Info.plist.cexe of a launcher, Game Info.plist of a Boxer bundle
    x11,   ///< CKX11Prefs.plist
};
/// How a flag is written; either form is read.
enum class FlagForm { boolean, integer };

/// A key and the type of its value: a text, a flag or an integer.
template <class T>
struct WrapperKey {
    const char* name;
    SettingsFile file = SettingsFile::info;
    std::conditional_t<std::same_as<T, std::string>, std::string_view, T> fallback =
        {};  ///< of a missing key
    FlagForm form = FlagForm::boolean;
};

namespace wrapper_keys {

using Text = WrapperKey<std::string>;
using Flag = WrapperKey<bool>;

/// The main program on drive C, without the letter: "/Program Files/Game/game.exe".
inline constexpr Text program{"Program Name and Path"};
inline constexpr Text programFlags{"Program Flags"};
/// The program is started through the Windows start command.
inline constexpr Flag useStart{"use start.exe", SettingsFile::info, false, FlagForm::integer};

// The screen.
inline constexpr Flag useRandR{"Use RandR", SettingsFile::info, false, FlagForm::integer};
inline constexpr Flag fullscreen{"Fullscreen"};
/// "novdx24sleep0", "800x600x24sleep0" or "Current Resolutionx24sleep0".
inline constexpr Text resolution{"Resolution"};
/// The digits of `useRandR` and `fullscreen`, then `resolution`, while a fake resolution is in force.
inline constexpr Text originalResolution{"OriginalResolution"};

// The launcher.
inline constexpr Flag disableCPUs{"Disable CPUs"};
inline constexpr Flag forceQuartzWM{"force wrapper quartz-wm"};
inline constexpr Flag useXQuartz{"Use XQuartz"};
inline constexpr Flag setMaxFiles{"set max files"};
inline constexpr Flag isFnToggleEnabled{"IsFnToggleEnabled"};
inline constexpr Flag tryToUseGPUInfo{"Try To Use GPU Info", SettingsFile::info, false, FlagForm::integer};
/// Extensions of files, separated by single spaces.
inline constexpr Text associations{"Associations"};

// What the user adds to a start (wrapper/launch_options.h).
/// A dictionary of texts: the environment variables by their names.
inline constexpr const char* environmentName = "Morvane Environment";
/// A command that runs the program's start, its words separated as in a shell.
inline constexpr Text commandBefore{"Morvane Command Before"};

// What the wrapper's programs may see of the machine (wrapper/sandbox.h). Only the wrapper's own count.
/// "off", "home" or "strict"; a missing one is "off".
inline constexpr Text sandbox{"Morvane Sandbox"};
/// A list of folders outside the wrapper that stay reachable.
inline constexpr const char* sandboxFoldersName = "Morvane Sandbox Folders";

// The bundle.
inline constexpr Text bundleName{"CFBundleName"};
inline constexpr Text bundleShortVersion{"CFBundleShortVersionString", SettingsFile::info, "1.0"};
inline constexpr Text bundleIdentifier{"CFBundleIdentifier"};
/// In the resources; ".icns" may be missing.
inline constexpr Text bundleIconFile{"CFBundleIconFile"};
/// In Contents/MacOS.
inline constexpr Text bundleExecutable{"CFBundleExecutable"};
/// The master wrapper's name, with a space for each "-".
inline constexpr Text bundleVersion{"CFBundleVersion"};

inline constexpr Flag enableFakeButtons{"enable_fake_buttons", SettingsFile::x11};
inline constexpr Flag optionSendsAlt{"option_sends_alt", SettingsFile::x11};

}  // namespace wrapper_keys

/// A flag of a wrapper's settings: true, or an integer that is not 0. Anything else, and nothing, is not set.
[[nodiscard]] inline bool isFlagSet(const Value* value) {
    if (value == nullptr) return false;
    if (const bool* flag = value->as<bool>()) return *flag;
    const std::int64_t* number = value->as<std::int64_t>();
    return number != nullptr && *number != 0;
}

/// The value as the key's type; nothing when it is missing or of another type.
template <class T>
[[nodiscard]] std::optional<T> findSetting(const Dictionary& settings, const WrapperKey<T>& key) {
    const Value* value = settings.find(key.name);
    if constexpr (std::same_as<T, bool>) {
        const bool isFlag =
            value != nullptr && (value->as<bool>() != nullptr || value->as<std::int64_t>() != nullptr);
        return isFlag ? std::optional(isFlagSet(value)) : std::nullopt;
    } else {
        const T* found = value != nullptr ? value->as<T>() : nullptr;
        return found != nullptr ? std::optional<T>(*found) : std::nullopt;
    }
}
template <class T>
[[nodiscard]] T getSetting(const Dictionary& settings, const WrapperKey<T>& key) {
    auto found = findSetting(settings, key);
    return found ? *std::move(found) : T(key.fallback);
}

/// As it is written.
template <class T>
[[nodiscard]] Value settingValue(const WrapperKey<T>& key, const T& value) {
    if constexpr (std::same_as<T, bool>) {
        if (key.form == FlagForm::integer) return Value(value ? 1 : 0);
    }
    return Value(value);
}

}  // namespace morvane
