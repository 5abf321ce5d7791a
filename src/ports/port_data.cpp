#include "ports/port_data.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "engines/caskery_engine.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/digest.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/host.h"
#include "platform/pictures.h"
#include "ports/typed_stream.h"

namespace morvane {
namespace {

using OptionalText = std::optional<std::string>;

OptionalText textFor(const Dictionary& dictionary, std::string_view key) {
    const auto* text = dictionary.get<std::string>(key);
    return text != nullptr ? OptionalText(*text) : std::nullopt;
}

std::string textOrEmpty(const Dictionary& dictionary, std::string_view key) {
    return textFor(dictionary, key).value_or("");
}

bool booleanFor(const Dictionary& dictionary, std::string_view key) {
    return booleanReading(dictionary.find(key));
}

/// Whether the value is of a kind that a boolean is read from.
bool readsAsBoolean(const Value* value) {
    return value != nullptr && (value->as<bool>() != nullptr || value->as<std::int64_t>() != nullptr ||
                                value->as<double>() != nullptr || value->as<std::string>() != nullptr);
}

std::int64_t integerFor(const Dictionary& dictionary, std::string_view key) {
    const Value* value = dictionary.find(key);
    if (value == nullptr) return 0;
    if (const auto* integer = value->as<std::int64_t>()) return *integer;
    if (const auto* flag = value->as<bool>()) return *flag ? 1 : 0;
    const auto* real = value->as<double>();
    constexpr double exactIntegers = 9007199254740992.0;
    if (real == nullptr || !(std::abs(*real) <= exactIntegers)) return 0;
    return static_cast<std::int64_t>(*real);
}

/// The entries of the list at the key, each made of its dictionary; nothing when there is no list.
template <class Make>
auto entriesFor(const Dictionary& dictionary, std::string_view key, Make make) {
    using Entry = decltype(make(dictionary));
    std::optional<std::vector<Entry>> entries;
    const auto* list = dictionary.get<Array>(key);
    if (list == nullptr) return entries;
    entries.emplace();
    for (const Value& element : *list) {
        if (const auto* entry = element.as<Dictionary>()) entries->push_back(make(*entry));
    }
    return entries;
}

MenuEntry menuEntry(const Dictionary& entry) {
    return {textOrEmpty(entry, "name"), textOrEmpty(entry, "type"), textOrEmpty(entry, "desc")};
}

DriveEntry driveEntry(const Dictionary& entry) {
    return {textOrEmpty(entry, "name"), textOrEmpty(entry, "place"), textOrEmpty(entry, "typeName")};
}

ExtensionEntry extensionEntry(const Dictionary& entry) {
    return {textOrEmpty(entry, "app"), textOrEmpty(entry, "func")};
}

ExtraFileEntry extraFileEntry(const Dictionary& entry) {
    return {textFor(entry, "origin"), textFor(entry, "destiny"), booleanFor(entry, "autorun")};
}

ExeEntry exeEntry(const Dictionary& entry) {
    ExeEntry exe;
    exe.name = textOrEmpty(entry, "name");
    exe.isMain = textOrEmpty(entry, "main") == "X";
    exe.path = textOrEmpty(entry, "path");
    exe.automatic = integerFor(entry, "automatic");
    exe.fullscreen = booleanFor(entry, "fullscreen");
    exe.virtualdesktop = integerFor(entry, "virtualdesktop");
    exe.resolution = textOrEmpty(entry, "resolution");
    exe.colours = textOrEmpty(entry, "colours");
    exe.compatibility = textOrEmpty(entry, "compatibility");
    exe.version = textFor(entry, "version");
    if (const auto* icon = entry.get<ImageData>("icon")) exe.icon = *icon;
    return exe;
}

/// The name of a wrapper: ".app" alone has none.
std::string wrapperName(const std::string& wrapper) {
    const std::string component = files::lastComponent(wrapper);
    return component.substr(0, std::min(component.rfind('.'), component.size()));
}

std::optional<ImageData> blankPortIcon() {
    auto bytes = files::read(files::join(host().folders.resources, "create_wrapper.png"));
    const auto size = bytes ? pictures::sizeOf(*bytes) : std::nullopt;
    if (!size) return std::nullopt;
    return ImageData{std::move(*bytes), static_cast<double>(size->width), static_cast<double>(size->height)};
}

/// What the blank port's main program is: the client that will be installed, or not known yet.
std::string blankPortProgram(unsigned drms) {
    if ((drms & drm::steam) != 0) return "C:/*/Steam/steam.exe";
    if ((drms & drm::uplay) != 0) return "C:/*/Ubisoft/Ubisoft Game Launcher/Uplay.exe";
    if ((drms & drm::origin) != 0) return "C:/*/Origin/Origin.exe";
    return "C:/nothing.exe";
}

}  // namespace

Result<NSPortData> NSPortData::initWithCkiAtPath(const std::string& path) {
    auto loaded = NSUtilities::loadArchivedObjectFromFile(path, "CKI");
    if (!loaded) return loaded.error();
    NSPortData port = initWithDictionary(*loaded->as<Dictionary>(), path);
    port.recipe = digest::sha256OfFile(files::resolved(path).value_or(path)).value_or("");
    return port;
}

NSPortData NSPortData::initWithDictionary(const Dictionary& cki, const std::optional<std::string>& path) {
    NSPortData port;
    port.ckiVersion = textFor(cki, "CKI Version");
    port.creator = textFor(cki, "Creator");
    port.creatorMail = textFor(cki, "Creator Mail");
    port.source = textFor(cki, "Source");
    port.portType = textFor(cki, "Port Type");
    port.engine = textFor(cki, "Engine");
    if (port.portType && port.engine) {
        port.engine =
            NSCaskeryEngine(*port.engine).updateToMostRecentVersionForPortType(*port.portType).engine;
    }

    port.engineCustomLink = textFor(cki, "Engine Custom Link");
    port.company = textFor(cki, "Company");
    port.portMenu = entriesFor(cki, "WrapperMenu", menuEntry);
    port.drives = entriesFor(cki, "Drives", driveEntry);
    port.supportedExtensions = entriesFor(cki, "Extensions", extensionEntry);
    port.useMacDriver = booleanFor(cki, "MacDriver");
    port.decorateWindows = booleanFor(cki, "Decorate");
    port.useDirect3DBoost = booleanFor(cki, "Direct3D Boost");
    port.winetricks = winetricksWithObject(cki.find("Winetricks"));
    port.exes = entriesFor(cki, "EXEs", exeEntry).value_or(std::vector<ExeEntry>());

    const auto extraFiles = [&](std::string_view key) {
        return entriesFor(cki, key, extraFileEntry).value_or(std::vector<ExtraFileEntry>());
    };
    if (port.ckiVersionIsAtLeast("1.5.8")) {
        port.extraFilesBeforeInstaller = extraFiles("Before Extra Files");
        port.extraFilesAfterInstaller = extraFiles("After Extra Files");
    } else {
        port.extraFilesBeforeInstaller = extraFiles("Extra Files");
    }

    port.originalInstallerNeeded = booleanFor(cki, "Original Installer Needed");
    port.originalInstallerName = textFor(cki, "Original Installer Name");
    port.emulateThreeButtonsMouse = booleanFor(cki, "Button 1");
    port.optionKeyWorksAsAlt = booleanFor(cki, "Button 2");
    port.closePortNicely = booleanFor(cki, "Button 3");
    port.singleCpuMode = booleanFor(cki, "Button 4");
    port.decorateWindowWithQuartz = booleanFor(cki, "Button 5");
    port.useXQuartz = booleanFor(cki, "Button 6");
    port.maxFiles10240 = booleanFor(cki, "Button 7");
    port.overrides = overridesFromCKI(cki);
    port.isUplay = checkIfCKI(cki, path, "Uplay");
    port.isSteam = checkIfCKI(cki, path, "Steam");
    port.isOrigin = checkIfCKI(cki, path, "Origin");
    port.isGogGalaxy = checkIfCKI(cki, path, "GOG Galaxy");
    port.fnToggleDefaultValue = booleanFor(cki, "FnToggle Default Value");
    return port;
}

std::optional<Dictionary> NSPortData::customPortDictionary(const std::string& wrapper,
                                                           const std::string& engine, unsigned drms,
                                                           MacDriver macDriver) {
    const std::string name = wrapperName(wrapper);
    if (name.empty() || engine.empty()) return std::nullopt;
    const bool usesMacDriver = macDriver == MacDriver::yes;

    Dictionary exe{{"main", "X"},
                   {"name", name},
                   {"path", blankPortProgram(drms)},
                   {"automatic", 1},
                   {"version", "1.0"}};
    if (auto icon = blankPortIcon()) exe.set("icon", std::move(*icon));

    return Dictionary{
        {"Port Type", "Caskery"},
        {"Engine", engine},
        {"Is Steam", (drms & drm::steam) != 0},
        {"Is Origin", (drms & drm::origin) != 0},
        {"Is Uplay", (drms & drm::uplay) != 0},
        {"Original Installer Needed", (drms & (drm::steam | drm::origin | drm::uplay)) == 0 ? 1 : 0},
        {"CKI Version", "1.6.1"},
        {"Winetricks", Array()},
        {"Company", "Copyright © " + std::to_string(currentYear()) + " Morvane. All rights reserved."},
        {"EXEs", Array{std::move(exe)}},
        {"MacDriver", usesMacDriver},
        {"Decorate", usesMacDriver ? 0 : 1},
        {"Direct3D Boost", 0}};
}

std::optional<NSPortData> NSPortData::customPortAtPath(const std::string& wrapper, const std::string& engine,
                                                       unsigned drms, MacDriver macDriver) {
    const auto dictionary = customPortDictionary(wrapper, engine, drms, macDriver);
    if (!dictionary) return std::nullopt;
    return initWithDictionary(*dictionary, std::nullopt);
}

std::vector<std::string> NSPortData::winetricksWithObject(const Value* object) {
    std::vector<std::string> verbs;
    if (object == nullptr) return verbs;
    if (const auto* text = object->as<std::string>()) verbs = MVString::split(*text, "\n");
    if (const auto* list = object->as<Array>()) {
        for (const Value& element : *list) {
            if (const auto* verb = element.as<std::string>()) verbs.push_back(*verb);
        }
    }
    std::erase(verbs, "");
    return verbs;
}

Array NSPortData::overridesFromCKI(const Dictionary& cki) {
    Array fragments;
    const auto addAll = [&](const Array& list) {
        std::copy_if(list.begin(), list.end(), std::back_inserter(fragments),
                     [](const Value& element) { return element.as<std::string>() != nullptr; });
    };
    if (const auto* overrides = cki.get<Array>("Overrides")) {
        addAll(*overrides);
        return fragments;
    }
    if (const auto* exes = cki.get<Array>("ExesDLLsOverrides")) addAll(*exes);

    struct OlderKey {
        std::string_view key, header;
    };
    static constexpr std::array olderKeys{
        OlderKey{"DLLsOverrides", R"([Software\\Wine\\DllOverrides])"},
        OlderKey{"OpenGLOverrides", R"([Software\\Wine\\Opengl])"},
        OlderKey{"Direct3DOverrides", R"([Software\\Wine\\Direct3D])"},
    };
    for (const OlderKey& older : olderKeys) {
        if (const auto* body = cki.get<std::string>(older.key)) {
            fragments.push_back(std::string(older.header) + "\n" + *body);
        }
    }
    return fragments;
}

bool NSPortData::checkIfCKI(const Dictionary& cki, const std::optional<std::string>& path,
                            std::string_view drmName) {
    const Value* key = cki.find("Is " + std::string(drmName));
    if (readsAsBoolean(key) || !path) return booleanReading(key);
    const std::string file = MVString::lowercased(*path);
    const std::string name = MVString::lowercased(drmName);
    return MVString::contains(file, "(" + name + ")") ||
           MVString::contains(file, MVString::replacedAll(name, " ", "") + "build");
}

bool NSPortData::ckiVersionIsAtLeast(std::string_view version) const {
    return morvane::ckiVersion(ckiVersion, version);
}

bool ckiVersion(const std::optional<std::string>& version, std::string_view least) {
    auto components = version ? MVString::split(*version, ".") : std::vector<std::string>();
    auto leastComponents = MVString::split(least, ".");
    const std::size_t length = std::max(components.size(), leastComponents.size());
    components.resize(length, "0");
    leastComponents.resize(length, "0");
    for (std::size_t i = 0; i < length; ++i) {
        const std::int64_t number = MVString::initialIntValue(components[i]);
        const std::int64_t leastNumber = MVString::initialIntValue(leastComponents[i]);
        if (number != leastNumber) return number > leastNumber;
    }
    return true;
}

bool booleanReading(const Value* value) {
    if (value == nullptr) return false;
    if (const auto* flag = value->as<bool>()) return *flag;
    if (const auto* integer = value->as<std::int64_t>()) return *integer != 0;
    if (const auto* real = value->as<double>()) return *real != 0;
    const auto* text = value->as<std::string>();
    return text != nullptr && NSUtilities::booleanValue(*text);
}

namespace NSUtilities {

Result<Value> loadArchivedObjectFromFile(const std::string& path, const std::string& type) {
    if (files::kindBehind(path) == files::Kind::none) {
        return Failure{localized("There is no %@ file at %@!", {type, path})};
    }
    const auto contents = files::read(path);
    // A catalogue without such a port answers with a page, or with nothing.
    if (contents &&
        (contents->empty() || (contents->starts_with("<html>") && MVString::isValidUtf8(*contents)))) {
        return Failure{localized(
            "That %@ file isn't available in the database. Inform us through the Contact Us tab.", {type})};
    }
    auto root = contents ? safeUnarchiveObjectWithData(*contents) : std::nullopt;
    if (!root || root->as<Dictionary>() == nullptr) {
        return Failure{localized("That %@ file is corrupted or the format is invalid!", {type})};
    }
    return std::move(*root);
}

std::optional<Value> safeUnarchiveObjectWithData(std::string_view bytes) {
    auto root = typed_stream::unarchive(bytes);
    if (root) return std::move(*root);
    return std::nullopt;
}

}  // namespace NSUtilities
}  // namespace morvane
