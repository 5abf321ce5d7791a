#include "app/properties_window.h"

#include <chrono>
#include <utility>
#include <vector>

#include "building/engine_extraction.h"
#include "building/entry_removal.h"
#include "building/launch_targets.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "foundation/threads.h"
#include "library/icon_cache.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/pictures.h"
#include "platform/process.h"
#include "ports/exe_selection.h"
#include "ports/port_data.h"
#include "ports/typed_stream.h"
#include "wrapper/processes.h"
#include "wrapper/registry.h"
#include "wrapper/windows_paths.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

/// A registry option of two texts.
struct RegistryOption {
    const char* file;
    const char* header;
    const char* value;
    const char* on;
    const char* off;
};
constexpr RegistryOption systemTray{"user", R"([Software\\Wine\\X11 Driver])", "ShowSystray", "Y", "N"};
constexpr RegistryOption retinaMode{"user", R"([Software\\Wine\\Mac Driver])", "RetinaMode", "Y", "N"};
constexpr RegistryOption shellFont{"system",
                                   R"([Software\\Microsoft\\Windows NT\\CurrentVersion\\FontSubstitutes])",
                                   "MS Shell Dlg", "Helvetica Neue Medium", "Tahoma"};
constexpr const char* secondShellFont = "MS Shell Dlg 2";

/// Both hold the dots per inch, which go with the font.
struct RegistryPlace {
    const char* file;
    const char* header;
};
constexpr RegistryPlace dotsPerInch[] = {
    {"system", R"([System\\CurrentControlSet\\Hardware Profiles\\Current\\Software\\Fonts])"},
    {"user", R"([Software\\Wine\\Fonts])"}};

std::string registryText(const RegistryOption& option, const std::string& wrapper) {
    return NSUtilities::getStringValueForKey(option.value,
                                             NSUtilities::getRegistry(option.header, option.file, wrapper));
}

bool isOn(const RegistryOption& option, const std::string& wrapper) {
    return registryText(option, wrapper) == option.on;
}

/// Whether the file holds the new value afterwards; why not has been reported.
bool isSaved(const RegistryOption& option, bool on, const std::string& wrapper) {
    return registryText(option, wrapper) == (on ? option.on : option.off);
}

bool saveOption(const RegistryOption& option, bool on, const std::string& wrapper) {
    NSUtilities::replaceRegistryStrings(option.header, {{option.value, on ? option.on : option.off}},
                                        option.file, wrapper);
    return isSaved(option, on, wrapper);
}

std::string colourDepthOf(std::string resolution) {
    constexpr std::string_view end = "sleep0";
    if (resolution.ends_with(end)) resolution.resize(resolution.size() - end.size());
    if (resolution.ends_with("15")) return "15";
    return resolution.ends_with("8") ? "8" : "24";
}

/// The item itself for the link beside a wrapper that leads into it.
std::string withoutLink(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    if (files::kindOf(path) != files::Kind::link) return path;
    return files::resolved(path).value_or(path);
}

// A Boxer bundle shows its game's own icon; the user's is that of the folder, which file managers read off
// here.
constexpr const char* folderSettings = "/.directory";

bool saveFolderIcon(const ImageData& image, const std::string& folder) {
    const auto picture = pictures::decode(image.bytes);
    if (!picture) return true;  // dragged away: the folder keeps its icon
    auto written =
        files::write(folder + layout::folderIcon, pictures::encodePng(*picture), files::Atomically::yes);
    if (written && files::kindOf(folder + folderSettings) == files::Kind::none) {
        written = files::write(folder + folderSettings, "[Desktop Entry]\nIcon=./.icon.png\n",
                               files::Atomically::yes);
    }
    if (!written)
        MVAlert::showAlertErrorMessage(
            localized("Error while writting file: %@", {written.error().reason()}));
    return written.has_value();
}

StyledText descriptionIn(const Dictionary& description) {
    const Value* stored = description.find("Description");
    const auto* styled = stored != nullptr ? stored->as<StyledText>() : nullptr;
    return styled != nullptr ? *styled : StyledText{};
}

/// Nothing when the file is missing or no such archive.
std::optional<Dictionary> descriptionFile(const std::string& path) {
    const auto loaded = NSUtilities::loadArchivedObjectFromFile(path, "CKII");
    const auto* dictionary = loaded ? loaded->as<Dictionary>() : nullptr;
    return dictionary != nullptr ? std::optional(*dictionary) : std::nullopt;
}

/// The link beside the wrapper follows its application to the new name. One that the user has removed is not
/// made again, and another item of the new name is not touched.
void moveLinkBesideWrapper(const std::string& old, const std::string& now, const std::string& wrapper) {
    const std::string folder = files::parent(wrapper);
    const std::string link = files::join(folder, files::lastComponent(old));
    const auto destination = files::destinationOfLink(link);
    if (!destination || *destination != files::lastComponent(wrapper) + "/" + files::lastComponent(old))
        return;
    if (files::kindOf(files::join(folder, files::lastComponent(now))) == files::Kind::none)
        createAliasToCustomEXE(now, Wrapper(wrapper));
    removeFileOrLink(link);
}

}  // namespace

NSPropertiesWindow::NSPropertiesWindow(Callbacks callbacks)
    : callbacks_(std::move(callbacks)), self_(std::make_shared<NSPropertiesWindow*>(this)) {}

NSPropertiesWindow::~NSPropertiesWindow() {
    *self_ = nullptr;
}

// ---- Filling

Result<> NSPropertiesWindow::setDataFromWrapperAtPath(const std::string& path) {
    const LibraryItem item(withoutLink(path));
    const bool isOne = item.isBoxerGame() ? MVFileManager::directoryExistsAtPath(item.path())
                                          : item.wrapper().runsPrograms();
    if (!isOne) {
        return Failure{localized("%@ is no wrapper, no application of one and no Boxer bundle.", {path})};
    }
    item_ = item;
    wrapperPath_ = item.path();
    mainWrapperPath_ = item.wrapper().path();

    const bool runsPrograms = !item.isBoxerGame();
    shown_ = {};
    if (item.isWrapper()) shown_.name.text = setting(wrapper_keys::bundleName);
    if (shown_.name.text.empty()) shown_.name.text = item.name();
    shown_.version = {setting(wrapper_keys::bundleShortVersion), runsPrograms};
    if (const auto icon = iconPath()) shown_.icon = icon_cache::imageFromFile(*icon);
    shown_.run = getGameRunPath();
    fillRegistryOptions();
    shown_.windowType = windowTypeOf(itemStore());
    shown_.functionKeys = {runsPrograms && setting(wrapper_keys::isFnToggleEnabled), runsPrograms};
    if (const auto description = descriptionFile(wrapperPath_ + layout::descriptionCkii))
        shown_.description = descriptionIn(*description);
    shown_.launchEnabled = runsPrograms;
    if (runsPrograms) shown_.launch = launchOptionsIn(itemStore().plist.value_or(Dictionary()));
    const auto shared = NSPortManager::managerWithPath(mainWrapperPath_).plist;
    if (runsPrograms) shown_.sandbox = sandboxIn(shared.value_or(Dictionary()));
    shown_.sandboxEnabled = item.isWrapper();
    filled_ = shown_;
    return {};
}

NSPortManager NSPropertiesWindow::itemStore() const {
    return NSPortManager::managerOfItem(*item_);
}

template <class T>
T NSPropertiesWindow::setting(const WrapperKey<T>& key) const {
    return findSetting(*item_, key).value_or(T(key.fallback));
}

std::optional<std::string> NSPropertiesWindow::iconPath() const {
    const std::string ofFolder = wrapperPath_ + layout::folderIcon;
    if (item_->isBoxerGame() && MVFileManager::regularFileExistsAtPath(ofFolder)) return ofFolder;
    const auto name = NSUtilities::iconFileName(findSetting(*item_, wrapper_keys::bundleIconFile));
    if (!name) return std::nullopt;
    const auto path = pathInside(wrapperPath_ + layout::resources, *name, Levels::one, "the icon's name");
    return path ? std::optional(*path) : std::nullopt;
}

NSPropertiesWindow::Field NSPropertiesWindow::getGameRunPath() const {
    const std::string program = setting(wrapper_keys::program);
    if (item_->isBoxerGame() || program.empty()) return {.text = "", .enabled = false};
    if (program.ends_with(".bat")) {
        const auto batch = NSUtilities::getMacPathForWindowsPath("C:" + program, mainWrapperPath_);
        const auto text = batch ? MVString::stringWithContentsOfFile(*batch, Encoding::utf8) : std::nullopt;
        return {.text = MVString::replacedAll(text.value_or(""), "\n", " & "), .enabled = true};
    }
    std::string text = "\"C:" + MVString::replacedAll(program, "/", "\\") + "\"";
    if (const std::string flags = setting(wrapper_keys::programFlags); !flags.empty()) text += " " + flags;
    return {.text = text, .enabled = true};
}

void NSPropertiesWindow::fillRegistryOptions() {
    if (item_->isBoxerGame()) {
        constexpr CheckBox none{.on = false, .enabled = false};
        shown_.wineSystemTray = shown_.helveticaNeueFont = shown_.highQualityMode = none;
        return;
    }
    const std::string& wrapper = mainWrapperPath_;
    shown_.wineSystemTray.on = registryText(systemTray, wrapper) != systemTray.off;
    shown_.helveticaNeueFont.on = isOn(shellFont, wrapper);
    const std::string drivers = NSUtilities::getRegistry(R"([Software\\Wine\\Drivers])", "user", wrapper);
    const bool usesMacDriver = NSUtilities::getStringValueForKey("Graphics", drivers) == "mac";
    shown_.windowTypeEnabled = !usesMacDriver;
    const auto engine = getCaskeryWrapperEngineFromPath(Wrapper(wrapper));
    shown_.highQualityMode = {isOn(retinaMode, wrapper),
                              usesMacDriver && isHighQualityModeCompatibleWithEngine(engine)};
}

NSPropertiesWindow::WindowType NSPropertiesWindow::windowTypeOf(const NSPortManager& port) const {
    if (item_->isBoxerGame() || !port.find(wrapper_keys::originalResolution)) return WindowType::ofPort;
    return port.get(wrapper_keys::fullscreen) ? WindowType::fakeFullScreen : WindowType::fakeWindowed;
}

bool isHighQualityModeCompatibleWithEngine(const std::optional<std::string>& engine) {
    constexpr std::size_t versionAt = 7;  // behind "CK9Wine"
    if (!engine || engine->size() <= versionAt) return true;
    const auto parts = MVString::split(std::string_view(*engine).substr(versionAt), ".");
    if (parts.size() < 2) return true;
    if (parts[0].starts_with("CX")) return false;
    if (parts[0] != "1") return true;
    const auto second = MVString::initialIntValue(parts[1]);
    if (second != 9) return second > 9;
    const std::string third = parts.size() > 2 ? parts[2] : "";
    return third.size() >= 2 && MVString::initialIntValue(third.substr(0, 2)) > 9;
}

// ---- What the user does

void NSPropertiesWindow::tellChanged() const {
    if (callbacks_.changed) callbacks_.changed();
}

bool NSPropertiesWindow::isChanged() const {
    return shown_ != filled_;
}

NSPropertiesWindow::Closing NSPropertiesWindow::closing() const {
    if (isSaving_ || !isChanged()) return Closing::discard;
    Dialog dialog;
    dialog.title = localized("Save Changes");
    dialog.text =
        localized("You have changed the properties of %@. Do you want to save them?", {filled_.name.text});
    dialog.buttons = {localized("Save"), localized("Don't Save"), localized("Cancel")};
    return static_cast<Closing>(MVAlert::showDialog(dialog).button);
}

bool NSPropertiesWindow::change(Field& field, const std::string& text) {
    if (!field.enabled || isSaving_) return false;
    field.text = text;
    tellChanged();
    return true;
}

bool NSPropertiesWindow::change(CheckBox& box, bool on) {
    if (!box.enabled || isSaving_) return false;
    box.on = on;
    tellChanged();
    return true;
}

bool NSPropertiesWindow::typeName(const std::string& text) {
    return change(shown_.name, text);
}
bool NSPropertiesWindow::typeVersion(const std::string& text) {
    return change(shown_.version, text);
}
bool NSPropertiesWindow::typeRunCommand(const std::string& text) {
    return change(shown_.run, text);
}
bool NSPropertiesWindow::switchWineSystemTray(bool on) {
    return change(shown_.wineSystemTray, on);
}
bool NSPropertiesWindow::switchHelveticaNeueFont(bool on) {
    return change(shown_.helveticaNeueFont, on);
}
bool NSPropertiesWindow::switchHighQualityMode(bool on) {
    return change(shown_.highQualityMode, on);
}
bool NSPropertiesWindow::switchFunctionKeys(bool on) {
    return change(shown_.functionKeys, on);
}

Result<> NSPropertiesWindow::launchCanChange() const {
    if (shown_.launchEnabled && !isSaving_) return {};
    return Failure{localized("%@ is not started by Wine: it has no launch options.", {shown_.name.text})};
}

Result<> NSPropertiesWindow::setVariable(const std::string& name, const std::optional<std::string>& value) {
    auto can = launchCanChange();
    if (can) can = checkVariable(name, value.value_or(""));
    if (!can) return can;
    if (value) {
        shown_.launch.environment[name] = *value;
    } else {
        shown_.launch.environment.erase(name);
    }
    tellChanged();
    return {};
}

Result<> NSPropertiesWindow::typeCommandBefore(const std::string& command) {
    auto can = launchCanChange();
    if (!can) return can;
    if (const auto words = wordsOfCommand(command); !words) return words.error();
    shown_.launch.before = command;
    tellChanged();
    return {};
}

bool NSPropertiesWindow::editDescription(StyledText text) {
    if (isSaving_) return false;
    shown_.description = std::move(text);
    tellChanged();
    return true;
}

bool NSPropertiesWindow::chooseWindowType(WindowType type) {
    if (!shown_.windowTypeEnabled || isSaving_) return false;
    shown_.windowType = type;
    tellChanged();
    return true;
}

bool NSPropertiesWindow::chooseSandbox(Sandbox mode) {
    if (!shown_.sandboxEnabled || isSaving_) return false;
    shown_.sandbox = mode;
    tellChanged();
    return true;
}

std::optional<std::string> NSPropertiesWindow::sandboxObstacle() {
    const auto program = sandboxProgram(host().searchPath);
    return program ? std::nullopt : std::optional(program.error().message());
}

bool NSPropertiesWindow::changeIcon(std::optional<ImageData> picture) {
    if (isSaving_) return false;
    const bool isPicture = picture.has_value();
    if (picture) picture = icon_cache::imageFromBytes(std::move(picture->bytes));
    if (isPicture && !picture) return false;
    shown_.icon = std::move(picture);
    tellChanged();
    return true;
}

void NSPropertiesWindow::searchNewRunPath() {
    if (!shown_.run.enabled || isSaving_) return;
    OpenPanel panel;
    panel.title = localized("Select the new main EXE");
    panel.startFolder = NSUtilities::getMacPathForWindowsPath("C:/", mainWrapperPath_).value_or("");
    panel.types = {"exe", "EXE", "bat", "BAT",     "msi",       "MSI", "lnk",
                   "LNK", "inf", "INF", "desktop", "appref-ms", "url"};
    panel.packagesAsFolders = true;
    const auto chosen = MVAlert::chooseFiles(panel);
    if (!chosen.empty()) typeRunCommand(NSExeSelection::selectAsMainExe(chosen.front(), mainWrapperPath_));
}

// ---- Saving

/// What happens elsewhere does so on the main thread, in the order of the save.
NSPropertiesWindow::Callbacks NSPropertiesWindow::callbacksOfWorker() const {
    const auto onMain = [](const std::function<void(const std::string&)>& callback) {
        return [callback](const std::string& path) {
            if (callback) static_cast<void>(host().mainQueue.callAndWait([&] { callback(path); }));
        };
    };
    return {.changed = {},
            .refresh =
                [refresh = callbacks_.refresh](const std::string& path, CustomEXE isCustomEXE) {
                    if (refresh)
                        static_cast<void>(host().mainQueue.callAndWait([&] { refresh(path, isCustomEXE); }));
                },
            .removeFromLibrary = onMain(callbacks_.removeFromLibrary),
            .addToLibrary = onMain(callbacks_.addToLibrary),
            .reloadItem = onMain(callbacks_.reloadItem)};
}

void NSPropertiesWindow::save(std::function<void(bool saved)> completion) {
    if (std::exchange(isSaving_, true)) return;
    tellChanged();
    // The worker has a window of its own: this one can be looked at, and closed, meanwhile.
    auto worker = std::make_shared<NSPropertiesWindow>(callbacksOfWorker());
    worker->item_ = item_;
    worker->wrapperPath_ = wrapperPath_;
    worker->mainWrapperPath_ = mainWrapperPath_;
    worker->shown_ = shown_;
    worker->filled_ = filled_;
    MVThread::dispatchQueueWithName("app.morvane.saveProperties", Priority::normal,
                                    [self = self_, worker, completion = std::move(completion)] {
                                        const bool saved = worker->saveDataToWrapper();
                                        MVThread::dispatchBlockInMainQueue([self, worker, completion, saved] {
                                            if (*self != nullptr) {
                                                NSPropertiesWindow& window = **self;
                                                window.item_ = worker->item_;
                                                window.wrapperPath_ = worker->wrapperPath_;
                                                window.mainWrapperPath_ = worker->mainWrapperPath_;
                                                window.shown_ = worker->shown_;
                                                window.filled_ = worker->filled_;
                                                window.isSaveCancelled_ = worker->isSaveCancelled_;
                                                window.isSaving_ = false;
                                                window.tellChanged();
                                            }
                                            if (completion) completion(saved);
                                        });
                                    });
}

bool NSPropertiesWindow::saveDataToWrapper() {
    const auto location = newLocation();
    if (!location) {
        MVAlert::showAlertErrorMessage(location.error().message());
        return false;
    }
    if (!isRegistryAtRest()) return false;
    const bool runsPrograms = !item_->isBoxerGame();
    bool saved = true;
    if (shown_.icon != filled_.icon) saved &= saveIconWithImage();
    if (runsPrograms && shown_.run.text != filled_.run.text) saved &= saveRunPath(shown_.run.text);
    if (runsPrograms) {
        saved &= saveWindowType();
        const NSPortManager main = NSPortManager::managerWithPath(mainWrapperPath_);
        saved &= saveWineSystemTrayAtPort(main);
        saved &= saveHelveticaNeueFontAtPort(main);
        saved &= saveHighQualityModeAtPort(main);
        saved &= saveTexts();
        saved &= saveLaunchOptions();
        saved &= saveSandbox();
    }
    if (shown_.description != filled_.description) saved &= saveDescription();
    return moveTo(*location) && saved;
}

bool NSPropertiesWindow::isRegistryAtRest() {
    isSaveCancelled_ = false;
    const bool isWritten = shown_.wineSystemTray != filled_.wineSystemTray ||
                           shown_.helveticaNeueFont != filled_.helveticaNeueFont ||
                           shown_.highQualityMode != filled_.highQualityMode;
    if (!isWritten) return true;
    // Its processes know its real path.
    const std::string wrapper = files::resolved(mainWrapperPath_).value_or(mainWrapperPath_);
    const auto running = NSUtilities::runningProcessesOfWrapper(wrapper);
    if (running.empty()) return true;
    enum Button : std::size_t { stop, cancel };
    Dialog dialog;
    dialog.title = localized("App Running");
    dialog.text = localized(
        "%@ is running, and would undo the changes when it ends. Do you want to stop it and save them? What "
        "isn't saved inside it will be lost.",
        {files::lastComponent(mainWrapperPath_)});
    dialog.buttons = {localized("Stop and Save"), localized("Cancel")};
    dialog.defaultButton = cancel;
    dialog.style = Dialog::Style::critical;
    isSaveCancelled_ = MVAlert::showDialog(dialog).button != stop;
    if (isSaveCancelled_) return false;
    NSUtilities::terminateAllCaskeryProcessesForWrapperNow(wrapper, RemovingWrapper::no);
    constexpr std::chrono::seconds patience{5};
    if (processes::waitForEnd(running, patience)) return true;
    MVAlert::showAlertErrorMessage(
        localized("%@ could not be stopped. Nothing was saved.", {files::lastComponent(mainWrapperPath_)}));
    return false;
}

Result<std::string> NSPropertiesWindow::newLocation() const {
    const std::string& name = shown_.name.text;
    if (name == filled_.name.text) return wrapperPath_;
    const std::string folder = files::parent(wrapperPath_);
    const std::string what = localized("the name");
    if (item_->isWrapper()) {
        // The folder keeps its name, but the setting is a line of text, and may name a batch file. Without a
        // name the folder's own is shown.
        if (name.empty()) return wrapperPath_;
        const auto checked = pathInside(wrapperPath_, name, Levels::one, what);
        return !checked ? checked : wrapperPath_;
    }
    if (name.empty()) return pathInside(folder, name, Levels::one, what);
    return pathInside(folder, name + (item_->isBoxerGame() ? ".boxer" : ".app"), Levels::one, what);
}

bool NSPropertiesWindow::saveIconWithImage() const {
    const ImageData image = shown_.icon.value_or(ImageData{});
    if (item_->isBoxerGame()) return saveFolderIcon(image, wrapperPath_);
    // Dragged away: the item keeps the icon that it has.
    if (!shown_.icon || itemStore().setIconWithImage(image)) return true;
    MVAlert::showAlertErrorMessage(localized("The icon of %@ couldn't be saved.", {wrapperPath_}));
    return false;
}

bool NSPropertiesWindow::saveRunPath(const std::string& text) const {
    if (MVString::trimmed(text).empty()) return true;
    NSPortManager port = itemStore();
    const std::string program = NSUtilities::getFileNameOfWindowsPath(text);
    const std::size_t colon = program.find(':');
    if (colon == 1 && program.front() == 'C') {
        const bool isExe = MVString::lowercased(program).ends_with(".exe");
        port.set(wrapper_keys::program, program.substr(colon + 1));
        port.set(wrapper_keys::useStart, !isExe);
        port.set(wrapper_keys::programFlags, NSUtilities::getFlagsOfWindowsPath(text));
    } else {
        const auto batch = writeBatchFile(text);
        if (!batch) return false;
        port.set(wrapper_keys::useStart, true);
        port.set(wrapper_keys::program, *batch);
    }
    return port.synchronizePlist();
}

std::optional<std::string> NSPropertiesWindow::writeBatchFile(const std::string& text) const {
    const std::string batch = filled("exec%@.bat", {shown_.name.text});
    const auto driveC = NSUtilities::getMacPathForWindowsPath("C:/", mainWrapperPath_);
    if (!driveC) return std::nullopt;
    const auto path = pathInside(*driveC, batch, Levels::one, localized("the name"));
    if (!path) {
        MVAlert::showAlertErrorMessage(path.error().message());
        return std::nullopt;
    }
    if (!MVString::writeToFile(text, *path, files::Atomically::yes, Encoding::utf8)) return std::nullopt;
    return "/" + batch;
}

bool NSPropertiesWindow::saveTexts() const {
    NSPortManager port = itemStore();
    bool isChanged = false;
    const auto save = [&](const auto& key, const auto& value, bool isNew) {
        if (isNew) port.set(key, value);
        isChanged |= isNew;
    };
    save(wrapper_keys::bundleName, shown_.name.text, shown_.name.text != filled_.name.text);
    save(wrapper_keys::bundleShortVersion, shown_.version.text, shown_.version.text != filled_.version.text);
    save(wrapper_keys::isFnToggleEnabled, shown_.functionKeys.on,
         shown_.functionKeys != filled_.functionKeys);
    return !isChanged || port.synchronizePlist();
}

bool NSPropertiesWindow::saveLaunchOptions() const {
    if (shown_.launch == filled_.launch) return true;
    NSPortManager port = itemStore();
    if (port.plist) putLaunchOptions(shown_.launch, *port.plist);
    return port.synchronizePlist();
}

bool NSPropertiesWindow::saveSandbox() const {
    if (shown_.sandbox == filled_.sandbox) return true;
    NSPortManager port = itemStore();
    if (port.plist) putSandbox(shown_.sandbox, Wrapper(mainWrapperPath_), *port.plist);
    return port.synchronizePlist();
}

bool NSPropertiesWindow::saveDescription() const {
    const std::string path = wrapperPath_ + layout::descriptionCkii;
    auto description = descriptionFile(path);
    // What can't be read here may be readable elsewhere.
    if (!description && files::kindOf(path) != files::Kind::none &&
        files::kindOf(path + ".damaged") == files::Kind::none) {
        MVFileManager::moveItemAtPath(path, path + ".damaged");
    }
    if (!description) description.emplace();
    // The pages that show it are dark, also those of other programs that read the file.
    StyledText text = shown_.description;
    for (StyledRun& run : text.runs) run.white = true;
    description->set("Description", std::move(text));
    const auto archive = typed_stream::archive(Value(*description));
    const Result<> written = archive ? files::write(path, *archive, files::Atomically::yes) : archive.error();
    if (!written)
        MVAlert::showAlertErrorMessage(
            localized("Error while writting file: %@", {written.error().reason()}));
    return written.has_value();
}

bool NSPropertiesWindow::moveTo(const std::string& location) {
    const std::string old = wrapperPath_;
    bool moved = true;
    if (location == old) {
        if (callbacks_.refresh)
            callbacks_.refresh(old, item_->isCustomEXE() ? CustomEXE::yes : CustomEXE::no);
    } else if (files::kindOf(location) != files::Kind::none) {
        MVAlert::showAlertErrorMessage(localized(
            "There is already an app with that name in the same folder! The app couldn't be renamed!"));
        moved = false;
    } else {
        // Before the library hears of it: a folder that can't be moved is not to fall out of the library.
        moved = MVFileManager::moveItemAtPath(old, location);
    }
    const std::string now = moved ? location : old;
    if (now != old) {
        if (item_->isCustomEXE()) moveLinkBesideWrapper(old, now, mainWrapperPath_);
        if (callbacks_.removeFromLibrary) callbacks_.removeFromLibrary(old);
        if (callbacks_.addToLibrary) callbacks_.addToLibrary(now);
    }
    static_cast<void>(setDataFromWrapperAtPath(now));
    tellChanged();
    if (callbacks_.reloadItem) callbacks_.reloadItem(now);
    return moved;
}

// ---- Registry options

bool NSPropertiesWindow::saveWineSystemTrayAtPort(const NSPortManager& port) const {
    const bool on = shown_.wineSystemTray.on;
    return on == filled_.wineSystemTray.on || saveOption(systemTray, on, port.path);
}

bool NSPropertiesWindow::saveHighQualityModeAtPort(const NSPortManager& port) const {
    const bool on = shown_.highQualityMode.on;
    return on == filled_.highQualityMode.on || saveOption(retinaMode, on, port.path);
}

bool NSPropertiesWindow::saveHelveticaNeueFontAtPort(const NSPortManager& port) const {
    const bool on = shown_.helveticaNeueFont.on;
    if (on == filled_.helveticaNeueFont.on) return true;
    const std::string font = on ? shellFont.on : shellFont.off;
    // Unlike everywhere else, no line feed follows the lines that are there.
    const auto setFonts = [&](const std::string& lines) {
        return NSUtilities::setOnRegistryStringValue(
            NSUtilities::setOnRegistryStringValue(lines, font, shellFont.value), font, secondShellFont);
    };
    NSUtilities::replaceRegistryLines(shellFont.header, setFonts, shellFont.file, port.path);
    const auto setDots = [&](const std::string& lines) {
        return NSUtilities::setOnRegistry(lines.empty() ? lines : lines + "\n",
                                          on ? "dword:00000069" : "dword:00000060", "LogPixels");
    };
    for (const RegistryPlace& place : dotsPerInch)
        NSUtilities::replaceRegistryLines(place.header, setDots, place.file, port.path);
    return isSaved(shellFont, on, port.path);
}

// ---- Screen mode

bool NSPropertiesWindow::saveWindowType() const {
    if (shown_.windowType == filled_.windowType) return true;
    NSPortManager port = itemStore();
    saveWindowTypeAtPort(port);
    return port.synchronizePlist();
}

void NSPropertiesWindow::saveWindowTypeAtPort(NSPortManager& port) const {
    const WindowType now = shown_.windowType, before = filled_.windowType;
    if (now == WindowType::ofPort) {
        saveOriginalResolutionAtPort(port);
    } else if (before == WindowType::ofPort) {
        saveFakeResolutionAtPort(port, now == WindowType::fakeFullScreen);
    } else {
        switchFakeResolutionAtPort(port);
    }
}

void NSPropertiesWindow::switchFakeResolutionAtPort(NSPortManager& port) {
    port.set(wrapper_keys::fullscreen, !port.get(wrapper_keys::fullscreen));
}

void NSPropertiesWindow::saveFakeResolutionAtPort(NSPortManager& port, bool fullscreen) {
    const std::string resolution = port.get(wrapper_keys::resolution);
    const auto digit = [&](const wrapper_keys::Flag& key) { return port.get(key) ? "1" : "0"; };
    const std::string original =
        filled("%d%d%@", {digit(wrapper_keys::useRandR), digit(wrapper_keys::fullscreen), resolution});
    port.set(wrapper_keys::originalResolution, original);
    port.set(wrapper_keys::useRandR, false);
    port.set(wrapper_keys::fullscreen, fullscreen);
    port.set(wrapper_keys::resolution, filled("Current Resolutionx%dsleep0", {colourDepthOf(resolution)}));
}

void NSPropertiesWindow::saveOriginalResolutionAtPort(NSPortManager& port) {
    const std::string original = port.get(wrapper_keys::originalResolution);
    port.set(wrapper_keys::originalResolution, std::nullopt);
    // A setting that somebody else has spoilt has nothing to restore.
    if (original.size() < 2) return;
    const std::string resolution = original.substr(2);
    const bool automatic = original[0] == '1';
    port.set(wrapper_keys::useRandR, automatic);
    if (automatic) {
        port.set(wrapper_keys::fullscreen, false);
        port.set(wrapper_keys::resolution, filled("novdx%dsleep0", {colourDepthOf(resolution)}));
    } else {
        port.set(wrapper_keys::fullscreen, original[1] == '1');
        port.set(wrapper_keys::resolution, resolution.empty() ? std::nullopt : std::optional(resolution));
    }
}

}  // namespace morvane
