#include "building/registry_writers.h"

// The writers of a wrapper's registry, and of what belongs to their keys: drive links and file associations.

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <set>

#include "building/build.h"
#include "building/entry_removal.h"
#include "building/port_texts.h"
#include "foundation/alerts.h"
#include "foundation/computer_information.h"
#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/registry.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

constexpr const char* direct3DKey = R"([Software\\Wine\\Direct3D])";
constexpr const char* drivesKey = R"([Software\\Wine\\Drives])";
constexpr const char* autoRunKey = R"([Software\\Microsoft\\Windows\\CurrentVersion\\Run])";

// Drives

constexpr std::string_view letterText = "a drive letter (Drives, name)";
constexpr std::string_view placeText = "the place of a drive (Drives, place)";

/// What is made of one drive entry after its texts have passed.
struct Drive {
    std::string letter;  ///< lower case, without its colon
    std::string place;   ///< what the drive's link points to
    /// For a place inside the wrapper: below `Contents/Resources`, with a leading "/".
    std::optional<std::string> insidePlace;
    std::string typeName;  ///< empty: none is written
};

/// The drive of the entry, or nothing after a reported refusal. Absolute places may lead anywhere: a drive
/// for a folder of the user's own is what they are for, and nothing is ever created or deleted through them.
std::optional<Drive> checkedDrive(const DriveEntry& entry, const Wrapper& wrapper) {
    using port_texts::refuse;
    Drive drive{MVString::lowercased(entry.name), entry.place, std::nullopt, ""};
    const bool isLetter = drive.letter.size() == 1 && drive.letter[0] >= 'a' && drive.letter[0] <= 'z';
    if (!isLetter) {
        refuse(entry.name, letterText);
        return std::nullopt;
    }
    const bool absolute = entry.place.starts_with("/");
    // Drive C is where everything of the port is written, so it stays in the wrapper.
    if (port_texts::hasControlCharacters(entry.place) || (absolute && drive.letter == "c") ||
        (!absolute && !entry.place.starts_with("../"))) {
        refuse(entry.place, placeText);
        return std::nullopt;
    }
    if (!absolute) {
        drive.insidePlace = entry.place.substr(2);
        if (!port_texts::gatedPath(wrapper.prefix(), *drive.insidePlace, Levels::many, placeText))
            return std::nullopt;
    }
    if (entry.typeName != "auto") {
        const bool isWord =
            std::all_of(entry.typeName.begin(), entry.typeName.end(), [](unsigned char character) {
                return character < 0x80 &&
                       (std::isalnum(character) != 0 || character == '-' || character == '_');
            });
        if (!isWord) {
            refuse(entry.typeName, "the type of a drive (Drives, typeName)");
            return std::nullopt;
        }
        drive.typeName = entry.typeName;
    }
    return drive;
}

/// Deletes the drive links. What is a real folder there (a wrapper copied by a tool that follows links) may
/// hold the user's games; making a link of its name then reports it.
void removeDriveLinks(const std::string& folder) {
    for (const std::string& name : MVFileManager::contentsOfDirectoryAtPath(folder))
        removeFileOrLink(files::join(folder, name));
}

/// Makes the link, in place of a link only: anything else there stays, and making the link reports it.
void replaceLink(const std::string& path, const std::string& destination) {
    if (files::kindOf(path) == files::Kind::link) removeFileOrLink(path);
    MVFileManager::createSymbolicLinkAtPath(path, destination);
}

void makeDrive(const Drive& drive, const Wrapper& wrapper) {
    MVFileManager::createSymbolicLinkAtPath(wrapper.dosdevices() + "/" + drive.letter + ":", drive.place);
    const std::string visible = wrapper.path() + "/drive_" + drive.letter;
    if (!drive.insidePlace) {
        replaceLink(visible, drive.place);
        return;
    }
    replaceLink(visible, "Contents/Resources" + *drive.insidePlace);
    const std::string folder = wrapper.prefix() + *drive.insidePlace;
    if (!MVFileManager::directoryExistsAtPath(folder))
        MVFileManager::createDirectoryAtPath(folder, IntermediateFolders::yes);
}

/// A wrapper without its drive C cannot start, and path translation needs the link at once, before Wine would
/// make it anew. Drive Z is Wine's own way to everything else, its programs' included.
void restoreDefaultDrives(const Wrapper& wrapper) {
    const std::string folder = wrapper.dosdevices();
    if (files::kindOf(folder + "/c:") == files::Kind::none)
        MVFileManager::createSymbolicLinkAtPath(folder + "/c:", "../drive_c");
    if (files::kindOf(folder + "/z:") == files::Kind::none)
        MVFileManager::createSymbolicLinkAtPath(folder + "/z:", "/");
}

// File associations

/// The keys of one extension, or nothing after a reported refusal.
bool saveExtension(const ExtensionEntry& entry, const Wrapper& wrapper) {
    if (!port_texts::canBeExtension(entry.app)) {
        port_texts::refuse(entry.app, "a file extension (Extensions, app)");
        return false;
    }
    const auto command = port_texts::inRegistryString(MVString::replacedAll(entry.func, "/", "\\"));
    if (!command) {
        port_texts::refuse(entry.func, "the command of a file extension (Extensions, func)");
        return false;
    }
    const std::string typeKey = "[Software\\\\Classes\\\\." + entry.app + "]";
    const std::string commandKey =
        "[Software\\\\Classes\\\\" + entry.app + "file\\\\shell\\\\open\\\\command]";
    NSUtilities::deleteRegistry(commandKey, "system", wrapper.path());
    NSUtilities::deleteRegistry(typeKey, "system", wrapper.path());
    NSUtilities::addRegistry(
        typeKey + "\n@=\"" + entry.app + "file\"\n\n" + commandKey + "\n@=\"" + *command + "\"\n\n", "system",
        wrapper.path());
    return true;
}

/// Whether the fragment names the one key that it replaces: without a header, its lines would fall into
/// whatever key stands last in the file.
bool namesItsKey(std::string_view fragment) {
    const std::size_t open = fragment.find('[');
    const std::size_t close = open == std::string_view::npos ? open : fragment.find(']', open);
    if (close == std::string_view::npos || close == open + 1) return false;
    return MVString::trimmed(fragment.substr(0, open)).empty() &&
           !port_texts::hasControlCharacters(fragment.substr(open, close - open));
}

/// The key's header as it stands in the user's registry: Windows reads any case, so a port may write any.
std::set<std::string> spellingsOf(std::string_view header, const Wrapper& wrapper) {
    std::set<std::string> spellings{std::string(header)};
    const auto text = MVString::stringWithContentsOfFile(
        NSUtilities::getPathForRegistryFile("user", wrapper.path()), Encoding::ascii);
    for (const std::string& line : MVString::split(text.value_or(""), "\n")) {
        std::string start = line.substr(0, header.size());
        if (MVString::lowercased(start) == MVString::lowercased(header)) spellings.insert(std::move(start));
    }
    return spellings;
}

/// The graphics memory in megabytes, from a text such as "1536 MB" or "2 GB".
std::optional<std::int64_t> megabytes(std::string_view memory) {
    static constexpr std::int64_t largest = INT64_MAX / 1024;
    struct Unit {
        std::string_view name;
        std::int64_t factor;
    };
    for (const Unit& unit : {Unit{" MB", 1}, Unit{" GB", 1024}}) {
        if (!MVString::contains(memory, unit.name)) continue;
        const std::string number = NSUtilities::getFragmentAfter(std::nullopt, unit.name, memory);
        return std::min(MVString::initialIntValue(number), largest) * unit.factor;
    }
    return std::nullopt;
}

}  // namespace

bool saveMacDriver(bool use, const Wrapper& wrapper) {
    NSUtilities::replaceRegistryStrings(R"([Software\\Wine\\Drivers])", {{"Graphics", use ? "mac" : "x11"}},
                                        "user", wrapper.path());
    return true;
}

bool saveDirect3DBoost(bool use, const Wrapper& wrapper) {
    NSUtilities::replaceRegistryStrings(direct3DKey, {{"CSMT", use ? "enabled" : "disabled"}}, "user",
                                        wrapper.path());
    return true;
}

bool saveDecorateWindow(bool decorate, const Wrapper& wrapper) {
    const std::string answer = decorate ? "Y" : "N";
    NSUtilities::replaceRegistryStrings(R"([Software\\Wine\\X11 Driver])",
                                        {{"Managed", answer}, {"Decorated", answer}}, "user", wrapper.path());
    return true;
}

bool saveDrives(const std::optional<std::vector<DriveEntry>>& drives, const Wrapper& wrapper) {
    if (!drives || drives->empty()) return true;
    const std::string links = wrapper.dosdevices();
    if (files::kindOf(links) == files::Kind::link) {
        // Its entries are somebody else's.
        MVAlert::showAlertErrorMessage(
            localized("The drives can't be set, because \"%@\" is a link.", {links}));
        return true;
    }
    removeDriveLinks(links);
    NSUtilities::deleteRegistry(drivesKey, "system", wrapper.path());
    std::string types;
    std::set<std::string> letters;
    for (const DriveEntry& entry : *drives) {
        const auto drive = checkedDrive(entry, wrapper);
        if (!drive) continue;
        if (!letters.insert(drive->letter).second) {
            port_texts::refuse(entry.name, letterText);
            continue;
        }
        makeDrive(*drive, wrapper);
        if (!drive->typeName.empty()) types += "\"" + drive->letter + ":\"=\"" + drive->typeName + "\"\n";
    }
    restoreDefaultDrives(wrapper);
    if (!types.empty())
        NSUtilities::addRegistry(std::string(drivesKey) + "\n" + types + "\n", "system", wrapper.path());
    return true;
}

bool saveExtensions(const std::optional<std::vector<ExtensionEntry>>& extensions, NSPortManager& port) {
    if (!extensions) return true;
    std::vector<std::string> associations;
    for (const ExtensionEntry& entry : *extensions) {
        host().creation.throwIfRequested();
        if (saveExtension(entry, Wrapper(port.path))) associations.push_back(entry.app);
    }
    port.set(wrapper_keys::associations, MVString::joined(associations, " "));
    port.synchronizePlist();
    return true;
}

bool saveOverridesForPortData(Build& build, const NSPortData& data, NSPortManager& port) {
    port.set(wrapper_keys::tryToUseGPUInfo, false);
    port.synchronizePlist();
    build.setMessage(localized("Overriding registries..."));
    Array overrides;
    for (const Value& element : data.overrides) {
        const auto* fragment = element.as<std::string>();
        if (fragment == nullptr) continue;
        if (namesItsKey(*fragment))
            overrides.push_back(element);
        else
            port_texts::refuse(*fragment, "the registry lines of a key (Overrides)");
    }
    NSUtilities::saveUserOverrides(overrides, port.path);
    build.setMessage(localized("Setting video memory size manually..."));
    settingVideoCardMemorySizeAtPort(port);
    build.setMessage(localized("Cleaning Auto-Run apps list..."));
    removeFromRegistryAppsThatRunAutomaticallyOnWrapperStartupAtFile(Wrapper(port.path));
    return true;
}

bool settingVideoCardMemorySizeAtPort(const NSPortManager& port) {
    const auto memory = NSComputerInformation::graphicCardMemorySize();
    const auto size = memory ? megabytes(*memory) : std::nullopt;
    if (!size) return false;
    // Unlike the five steps of the other writers, this one appends no line feed and deletes the key last.
    const std::string lines = NSUtilities::setOnRegistryStringValue(
        NSUtilities::getRegistry(direct3DKey, "user", port.path), std::to_string(*size), "VideoMemorySize");
    NSUtilities::deleteRegistry(direct3DKey, "user", port.path);
    NSUtilities::addRegistry(std::string(direct3DKey) + "\n" + lines + "\n", "user", port.path);
    return true;
}

bool removeFromRegistryAppsThatRunAutomaticallyOnWrapperStartupAtFile(const Wrapper& wrapper) {
    for (const std::string& header : spellingsOf(autoRunKey, wrapper))
        NSUtilities::deleteRegistry(header, "user", wrapper.path());
    NSUtilities::addRegistry(std::string(autoRunKey) + "\n", "user", wrapper.path());
    return true;
}

}  // namespace morvane
