#include "building/launch_targets.h"

// The programs of a port: the wrapper's own launch target, and small launcher applications for the others.

#include "building/build.h"
#include "building/entry_removal.h"
#include "building/foreseen_questions.h"
#include "building/main_program.h"
#include "building/port_texts.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/archive_tools.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/registry.h"
#include "wrapper/windows_paths.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

constexpr const char* unknownProgram = "C:/nothing.exe";
/// The wrapper's own settings tool, beside which the launcher applications lie.
constexpr std::string_view settingsTool = "Caskery";

constexpr std::string_view nameText = "the name of a program (EXEs, name)";
constexpr std::string_view pathText = "the path of a program (EXEs, path)";

struct CommandLine {
    std::string program, flags;
};

CommandLine commandLineOf(const ExeEntry& exe) {
    // A line break of Windows is one newline of two characters.
    const std::string path = MVString::replacedAll(MVString::replacedAll(exe.path, "\n", ""), "\r", "");
    return {NSUtilities::getFileNameOfWindowsPath(path), NSUtilities::getFlagsOfWindowsPath(path)};
}

/// Whether the entry's texts can be used; a refusal is told to the user.
bool isUsable(const ExeEntry& exe) {
    // The wrapper's own program can do without a name; a launcher's file name can't.
    if ((exe.name.empty() && !exe.isMain) || port_texts::hasControlCharacters(exe.name)) {
        port_texts::refuse(exe.name, nameText);
        return false;
    }
    const CommandLine command = commandLineOf(exe);
    if (port_texts::leavesItsFolder(command.program) ||
        port_texts::hasControlCharacters(command.program + command.flags)) {
        port_texts::refuse(exe.path, pathText);
        return false;
    }
    return true;
}

/// The launcher application's place in the wrapper, or nothing after a reported refusal.
std::optional<std::string> applicationFor(const ExeEntry& exe, const Wrapper& wrapper) {
    if (exe.name == settingsTool) {
        port_texts::refuse(exe.name, nameText);
        return std::nullopt;
    }
    return port_texts::gatedPath(wrapper.path(), exe.name + ".app", Levels::one, nameText);
}

std::string chosenProgram(const ExeEntry& exe, const Wrapper& wrapper) {
    const auto chosen = MVAlert::chooseFiles(building::programPanel(
        exe.name, NSUtilities::getMacPathForWindowsPath("C:/", wrapper.path()).value_or("")));
    return chosen.empty() ? unknownProgram
                          : NSUtilities::getWindowsPathForMacPath(chosen.front(), wrapper.path());
}

/// Steam's own browser and its drawing of texts fail under Wine without these flags.
void addSteamFlags(CommandLine& command) {
    if (!MVString::lowercased(command.program).ends_with("/steam/steam.exe")) return;
    for (const std::string flag : {"-no-cef-sandbox", "-no-dwrite"}) {
        if (!MVString::contains(MVString::lowercased(command.flags), flag))
            command.flags = flag + " " + command.flags;
    }
}

void writeProgramOnDriveC(NSPortManager& target, const CommandLine& command) {
    const bool isExe = MVString::lowercased(command.program).ends_with(".exe");
    target.set(wrapper_keys::program, command.program.substr(command.program.find(':') + 1));
    target.set(wrapper_keys::useStart, !isExe);
    target.set(wrapper_keys::programFlags, command.flags);
}

/// The setting holds a path on drive C only, so a program elsewhere is started by a batch file there.
void writeProgramOnOtherDrive(NSPortManager& target, const CommandLine& command, const std::string& name,
                              const Wrapper& wrapper) {
    const auto driveC = NSUtilities::getMacPathForWindowsPath("C:/", wrapper.path());
    if (!driveC) return;
    const std::string batch = "exec" + name + ".bat";
    const auto path = port_texts::gatedPath(*driveC, batch, Levels::one, nameText);
    if (!path) return;
    if (!MVString::writeToFile("\"" + command.program + "\" " + command.flags, *path, files::Atomically::no,
                               Encoding::utf8)) {
        return;  // told; a setting that leads to no file would help nobody
    }
    target.set(wrapper_keys::useStart, true);
    target.set(wrapper_keys::program, "/" + batch);
}

std::optional<std::string> windowsVersionFor(const std::string& programName, const ExeEntry& exe) {
    const std::string name = MVString::lowercased(programName);
    if (name == "origin.exe") return "win7";
    if (name == "uplay.exe") return "vista";
    return NSUtilities::windowsSystemCodeFromSystemName(exe.compatibility);
}

void writeWindowsVersion(const std::string& program, const ExeEntry& exe, const Wrapper& wrapper) {
    const std::string name = MVString::split(program, "/").back();
    if (name.empty()) return;
    const auto keyName = port_texts::inRegistryKey(name);
    // A picked file's name need not be UTF-8; no key can hold such a name.
    if (!keyName) return;
    const std::string header = "[Software\\\\Wine\\\\AppDefaults\\\\" + *keyName + "]";
    NSUtilities::deleteRegistry(header, "user", wrapper.path());
    const auto version = windowsVersionFor(name, exe);
    NSUtilities::addRegistry(version ? header + "\n\"Version\"=\"" + *version + "\"" : header, "user",
                             wrapper.path());
}

/// Whether a link beside the wrapper with that destination leads into the wrapper, be it to what is gone.
bool leadsInto(const Wrapper& wrapper, const std::string& destination) {
    const std::string path =
        destination.starts_with("/") ? destination : files::join(files::parent(wrapper.path()), destination);
    return staysInside(wrapper.path(), path);
}

std::string colourDepth(const std::string& colours) {
    if (colours == "256 colors") return "8";
    if (colours == "16 bits") return "15";  // not 16: the setting has the depths 8, 15 and 24 only
    return "24";
}

}  // namespace

bool isProgramToChoose(const ExeEntry& exe) {
    return commandLineOf(exe).program == unknownProgram;
}

bool saveEXEs(const std::vector<ExeEntry>& exes, NSPortManager& port) {
    const Wrapper wrapper(port.path);
    for (const ExeEntry& exe : exes) {
        host().creation.throwIfRequested();
        if (!isUsable(exe)) continue;
        if (exe.isMain) {
            port.set(wrapper_keys::bundleShortVersion, exe.version);
            port.setIconWithImage(exe.icon);
            setMainExeDataAtPort(port, exe, wrapper);
            setScreenOptionsAtPort(port, exe);
            const std::string name =
                exe.name.empty() ? files::withoutExtension(files::lastComponent(wrapper.path())) : exe.name;
            port.set(wrapper_keys::bundleName, name);
            port.set(wrapper_keys::bundleIdentifier, name + ".Caskery.prefs");
            port.synchronizePlist();
            continue;
        }
        const auto application = applicationFor(exe, wrapper);
        if (!application) continue;
        // A second build into the same wrapper finds the launcher of the first and writes it anew.
        if (!MVFileManager::regularFileExistsAtPath(*application + layout::customExeMark)) {
            static_cast<void>(archives::copyWhole(wrapper.customExeTemplate(), *application));
        }
        NSPortManager target = NSPortManager::managerWithCustomExePath(*application);
        target.set(wrapper_keys::bundleShortVersion, exe.version);
        target.setIconWithImage(exe.icon);
        setMainExeDataAtPort(target, exe, wrapper);
        setScreenOptionsAtPort(target, exe);
        createAliasToCustomEXE(*application, wrapper);
        target.synchronizePlist();
    }
    return true;
}

void setMainExeDataAtPort(NSPortManager& target, const ExeEntry& exe, const Wrapper& wrapper) {
    CommandLine command = commandLineOf(exe);
    if (command.program == unknownProgram) command.program = chosenProgram(exe, wrapper);
    addSteamFlags(command);
    if (MVString::contains(command.program, "*"))
        command.program = completeWindowsPath(command.program, wrapper).value_or(command.program);
    if (MVString::lowercased(MVString::split(command.program, ":").front()) == "c")
        writeProgramOnDriveC(target, command);
    else
        writeProgramOnOtherDrive(target, command, exe.name, wrapper);
    writeWindowsVersion(command.program, exe, wrapper);
}

void setScreenOptionsAtPort(NSPortManager& target, const ExeEntry& exe) {
    const std::string withoutDesktop = "novdx" + colourDepth(exe.colours) + "sleep0";
    const bool automatic = exe.automatic != 0;
    target.set(wrapper_keys::useRandR, automatic);
    target.set(wrapper_keys::fullscreen, !automatic && exe.fullscreen);
    target.set(wrapper_keys::resolution, !automatic && exe.virtualdesktop != 0
                                             ? exe.resolution + "x" + colourDepth(exe.colours) + "sleep0"
                                             : withoutDesktop);
}

void createAliasToCustomEXE(const std::string& application, const Wrapper& wrapper) {
    const std::string name = files::lastComponent(application);
    const std::string link = files::join(files::parent(wrapper.path()), name);
    const std::string destination = files::lastComponent(wrapper.path()) + "/" + name;
    if (link == wrapper.path()) return;
    switch (files::kindOf(link)) {
        case files::Kind::none:
            break;
        case files::Kind::link: {
            const auto current = files::destinationOfLink(link);
            // Another wrapper's has the older right to the name.
            if (!current || *current == destination || !leadsInto(wrapper, *current)) return;
            if (!removeFileOrLink(link)) return;
            break;
        }
        default:
            return;
    }
    MVFileManager::createSymbolicLinkAtPath(link, destination);
}

}  // namespace morvane
