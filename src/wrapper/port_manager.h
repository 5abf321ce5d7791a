// wrapper/port_manager.h: the settings of one wrapper, read once and written whole. One thread at a time, no
// lock.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pictures.h"
#include "platform/value.h"
#include "wrapper/wrapper.h"
#include "wrapper/wrapper_settings.h"

namespace morvane {

/// The settings store of a wrapper or of a Custom EXE application. A settings file that is missing or no
/// property list gives a store without that dictionary: reads give nothing, writes do nothing.
class NSPortManager {
  public:
    [[nodiscard]] static NSPortManager managerWithPath(const std::string& wrapper);
    [[nodiscard]] static NSPortManager managerWithCustomExePath(const std::string& application);

    /// Of a wrapper or a launcher in one; of another item that is a bundle as well, its Info.plist's.
    [[nodiscard]] static NSPortManager managerOfItem(const LibraryItem& item);

    std::string path;
    bool isCustomEXE = false;
    std::optional<Dictionary> plist;
    std::optional<Dictionary> x11Plist;

    // Settings by their keys (`wrapper_keys`).
    /// The key's own value for a missing one.
    template <class T>
    [[nodiscard]] T get(const WrapperKey<T>& key) const {
        const auto& settings = key.file == SettingsFile::x11 ? x11Plist : plist;
        return getSetting(settings ? *settings : Dictionary(), key);
    }
    /// Nothing for a missing one.
    template <class T>
    [[nodiscard]] std::optional<T> find(const WrapperKey<T>& key) const {
        const auto& settings = key.file == SettingsFile::x11 ? x11Plist : plist;
        return settings ? findSetting(*settings, key) : std::nullopt;
    }
    /// Removes the key without a value.
    template <class T>
    void set(const WrapperKey<T>& key, const std::optional<std::type_identity_t<T>>& value) {
        const auto stored = value ? std::optional(settingValue(key, *value)) : std::nullopt;
        key.file == SettingsFile::x11 ? setX11PlistObject(stored, key.name)
                                      : setPlistObject(stored, key.name);
    }

    [[nodiscard]] const Value* plistObjectForKey(std::string_view key) const;
    /// Removes the key without a value.
    void setPlistObject(const std::optional<Value>& value, const std::string& key);
    /// Writes the file whole, atomically; false when that failed, true also without a dictionary.
    bool synchronizePlist() const;
    [[nodiscard]] const Value* x11PlistObjectForKey(std::string_view key) const;
    /// Removes the key without a value.
    void setX11PlistObject(const std::optional<Value>& value, const std::string& key);
    bool synchronizeX11Plist() const;

    /// Runs the command tool and waits; true always.
    bool runWithArguments(const std::vector<std::string>& arguments) const;
    bool installWinetrick(const std::string& winetrick) const;
    /// Runs a program of the wrapper, by its Mac path, through a batch file in the root of drive C that is
    /// gone afterwards; true always. The batch file takes the program's name, with a number when the game has
    /// a file of that name. A path with a quote or a line break, which could smuggle in a command, is
    /// reported and not run.
    bool runEXE(const std::string& program, const std::string& flags) const;

    /// Scaled to that width in pixels; failures are not reported.
    void savePngImage(const Picture& picture, int size, const std::string& path) const;
    /// The size and its "@2x".
    void saveIconsetImage(const Picture& picture, int size, const std::string& folder) const;
    /// Replaces the icon file, which stays when no new one could be made. Nothing happens without a picture
    /// that can be decoded or without "CFBundleIconFile". Whether the icon is a new one.
    bool setIconWithImage(const std::optional<ImageData>& image) const;
};

/// "CFBundleName" of the Info.plist, also of a launcher; of a Boxer bundle, of its own file.
[[nodiscard]] std::optional<std::string> bundleNameOf(const std::string& path);

/// One setting of an item, without a store.
template <class T>
[[nodiscard]] std::optional<T> findSetting(const LibraryItem& item, const WrapperKey<T>& key);

namespace NSUtilities {

/// The relative path begins with "/".
[[nodiscard]] std::optional<Value> getPlistItem(const std::string& key, const std::string& plist,
                                                const std::string& wrapper);
/// From "/Game Info.plist" for a ".boxer" bundle, else from "/Contents/Info.plist".
[[nodiscard]] std::optional<Value> getPlistItem(const std::string& key, const std::string& wrapper);
/// The file name of a wrapper's icon, ".icns" included, by its setting; nothing without one.
[[nodiscard]] std::optional<std::string> iconFileName(const std::optional<std::string>& iconSetting);

}  // namespace NSUtilities

template <class T>
std::optional<T> findSetting(const LibraryItem& item, const WrapperKey<T>& key) {
    const std::string file = item.settingsFile().substr(item.path().size());
    const auto value = NSUtilities::getPlistItem(key.name, file, item.path());
    return value ? findSetting(Dictionary{{key.name, *value}}, key) : std::nullopt;
}

}  // namespace morvane
