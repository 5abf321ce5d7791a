#include "wrapper/port_manager.h"

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "platform/cancellation.h"
#include "platform/property_list.h"
#include "wrapper/layout.h"
#include "wrapper/windows_paths.h"

namespace morvane {
namespace {

std::optional<Dictionary> readSettings(const std::string& path) {
    if (!MVFileManager::regularFileExistsAtPath(path)) return std::nullopt;
    const std::optional<Value> value = property_lists::read(path);
    const Dictionary* dictionary = value ? value->as<Dictionary>() : nullptr;
    if (dictionary == nullptr) return std::nullopt;
    return *dictionary;
}

bool writeSettings(const std::optional<Dictionary>& settings, const std::string& path) {
    return !settings || property_lists::write(path, *settings);
}

void setSetting(std::optional<Dictionary>& settings, const std::optional<Value>& value,
                const std::string& key) {
    if (!settings) return;
    if (value) {
        settings->set(key, *value);
    } else {
        settings->erase(key);
    }
}

/// Inside a quoted argument of a batch line a quote ends it, and a line break ends the line: the rest of such
/// a name would be run as a command. Windows allows neither in a name, so no real program is refused.
bool fitsBatchLine(std::string_view windowsPath) {
    for (const char character : windowsPath) {
        if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F || character == '"')
            return false;
    }
    return true;
}

/// Where the batch file of a program goes: `<name>.bat` on drive C. A file of the game that has this name
/// already (the program itself may be one) is kept, and the batch file gets a number.
Result<std::string> batchFilePath(const std::string& program, const std::string& wrapper) {
    const std::string name = files::withoutExtension(files::lastComponent(program));
    for (int number = 1;; ++number) {
        const std::string numbered = number == 1 ? name : name + " " + std::to_string(number);
        auto path =
            pathInside(wrapper + layout::driveC, numbered + ".bat", Levels::one, "the program's name");
        if (!path) return path;
        if (files::kindOf(*path) == files::Kind::none) return path;
    }
}

}  // namespace

NSPortManager NSPortManager::managerWithPath(const std::string& wrapper) {
    NSPortManager manager;
    manager.path = wrapper;
    manager.plist = readSettings(wrapper + layout::infoPlist);
    manager.x11Plist = readSettings(wrapper + layout::x11Plist);
    return manager;
}

NSPortManager NSPortManager::managerWithCustomExePath(const std::string& application) {
    NSPortManager manager;
    manager.path = application;
    manager.isCustomEXE = true;
    manager.plist = readSettings(application + layout::customExePlist);
    return manager;
}

NSPortManager NSPortManager::managerOfItem(const LibraryItem& item) {
    return item.isCustomEXE() ? managerWithCustomExePath(item.path()) : managerWithPath(item.path());
}

const Value* NSPortManager::plistObjectForKey(std::string_view key) const {
    return plist ? plist->find(key) : nullptr;
}

void NSPortManager::setPlistObject(const std::optional<Value>& value, const std::string& key) {
    setSetting(plist, value, key);
}

bool NSPortManager::synchronizePlist() const {
    return writeSettings(plist, path + (isCustomEXE ? layout::customExePlist : layout::infoPlist));
}

const Value* NSPortManager::x11PlistObjectForKey(std::string_view key) const {
    return x11Plist ? x11Plist->find(key) : nullptr;
}

void NSPortManager::setX11PlistObject(const std::optional<Value>& value, const std::string& key) {
    setSetting(x11Plist, value, key);
}

bool NSPortManager::synchronizeX11Plist() const {
    return writeSettings(x11Plist, path + layout::x11Plist);
}

bool NSPortManager::runWithArguments(const std::vector<std::string>& arguments) const {
    MVTask::ignoreEnding(MVTask::runProgram(Wrapper(path).tool(), std::nullopt, arguments, Wait::yes));
    return true;
}

bool NSPortManager::installWinetrick(const std::string& winetrick) const {
    return runWithArguments({"CKS-winetricks", winetrick});
}

bool NSPortManager::runEXE(const std::string& program, const std::string& flags) const {
    const std::string windowsPath =
        MVString::replacedAll(NSUtilities::getWindowsPathForMacPath(program, path), "/", "\\");
    const auto batchFile = batchFilePath(program, path);
    if (!batchFile) {
        MVAlert::showAlertErrorMessage(batchFile.error().message());
        return true;
    }
    const std::string& batchPath = *batchFile;
    if (!fitsBatchLine(windowsPath)) {
        MVAlert::showAlertErrorMessage(localized("The path of the program cannot be used: %@", {program}));
        return true;
    }

    // The command tool takes such a line apart by itself, so that no interpreter of commands changes the name
    // or reads it in another encoding.
    MVString::writeToFile("start \"" + windowsPath + "\" " + flags, batchPath, MVString::Atomically::yes,
                          Encoding::utf8);
    try {
        runWithArguments({"CKS-installer", batchPath});
    } catch (const Cancelled&) {
        static_cast<void>(files::remove(batchPath));
        throw;
    }
    MVFileManager::removeItemAtPath(batchPath);
    return true;
}

std::optional<std::string> bundleNameOf(const std::string& path) {
    const auto name = NSUtilities::getPlistItem(wrapper_keys::bundleName.name, path);
    const auto* text = name ? name->as<std::string>() : nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

namespace NSUtilities {

std::optional<Value> getPlistItem(const std::string& key, const std::string& plist,
                                  const std::string& wrapper) {
    const std::optional<Dictionary> settings = readSettings(wrapper + plist);
    const Value* value = settings ? settings->find(key) : nullptr;
    if (value == nullptr) return std::nullopt;
    return *value;
}

std::optional<Value> getPlistItem(const std::string& key, const std::string& wrapper) {
    return getPlistItem(key, LibraryItem::isBoxerName(wrapper) ? layout::boxerPlist : layout::infoPlist,
                        wrapper);
}

std::optional<std::string> iconFileName(const std::optional<std::string>& iconSetting) {
    if (!iconSetting || iconSetting->empty()) return std::nullopt;
    return iconSetting->ends_with(".icns") ? *iconSetting : *iconSetting + ".icns";
}

}  // namespace NSUtilities
}  // namespace morvane
