#include "wrapper/windows_paths.h"

#include <algorithm>
#include <array>
#include <vector>

#include "foundation/file_manager.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/utf8.h"
#include "wrapper/layout.h"
#include "wrapper/registry.h"

namespace morvane::NSUtilities {
namespace {

struct WindowsVersion {
    std::string_view code, name;
};
constexpr std::array<WindowsVersion, 9> windowsVersions{{{"nt40", "Windows NT 4.0"},
                                                         {"win31", "Windows 3.1"},
                                                         {"win95", "Windows 95"},
                                                         {"win98", "Windows 98"},
                                                         {"win2k", "Windows 2000"},
                                                         {"win2k3", "Windows 2003"},
                                                         {"winxp", "Windows XP"},
                                                         {"vista", "Windows Vista"},
                                                         {"win7", "Windows 7"}}};

/// The byte at which the text's character of that index begins; the text's size when it has fewer.
std::size_t startOfCharacter(std::string_view text, std::size_t index) {
    std::size_t at = 0;
    while (index > 0 && at < text.size()) {
        ++at;
        while (at < text.size() && utf8::continues(text[at])) ++at;
        --index;
    }
    return at;
}

bool hasFewerCharacters(std::string_view text, std::size_t count) {
    return count > 0 && startOfCharacter(text, count - 1) == text.size();
}

std::string withSlashes(std::string_view text) {
    return MVString::replacedAll(text, "\\", "/");
}

std::string_view withoutLeadingSpaces(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

std::string linkOfDrive(std::string_view letter, const std::string& wrapper) {
    return wrapper + layout::dosdevices + "/" + MVString::lowercased(letter) + ":";
}

/// What a path below a drive is, given where the drive's link leads.
std::string pathBehindDrive(const std::string& destination, std::string_view pathOnDrive,
                            const std::string& wrapper) {
    std::string path =
        destination.starts_with("../") ? wrapper + layout::resources + destination.substr(2) : destination;
    path += pathOnDrive;
    return MVString::replacedAll(path, "//", "/");
}

std::string programFilesValue(const std::string& block, std::string_view name) {
    return MVString::replacedAll(getStringValueForKey(name, block), "\\\\", "/");
}

}  // namespace

std::optional<std::string> getMacPathForWindowsPath(std::string_view windowsPath,
                                                    const std::string& wrapper) {
    if (hasFewerCharacters(windowsPath, 2)) return std::nullopt;
    const std::string path = withSlashes(windowsPath);
    if (path.starts_with("Z:")) return path.substr(2);

    const std::string_view letter = std::string_view(path).substr(0, startOfCharacter(path, 1));
    const std::optional<std::string> destination =
        MVFileManager::destinationOfSymbolicLinkAtPath(linkOfDrive(letter, wrapper));
    if (!destination) return std::nullopt;
    return pathBehindDrive(*destination, std::string_view(path).substr(startOfCharacter(path, 2)), wrapper);
}

std::string getWindowsPathForMacPath(const std::string& macPath, const std::string& wrapper) {
    // Z, the last letter, leads to the root whatever its link says: it is the answer when no other drive
    // fits.
    for (char letter = 'C'; letter < 'Z'; ++letter) {
        // Most letters have no link, which is no failure here: the quiet operation is used.
        const auto link = files::destinationOfLink(linkOfDrive(std::string(1, letter), wrapper));
        if (!link) continue;
        const std::string folder = pathBehindDrive(*link, "/", wrapper);
        if (macPath.starts_with(folder)) return std::string(1, letter) + ":/" + macPath.substr(folder.size());
    }
    return "Z:" + macPath;
}

std::string getFileNameOfWindowsPath(std::string_view commandLine) {
    const std::string slashed = withSlashes(commandLine);
    const std::string_view text = withoutLeadingSpaces(slashed);
    if (!text.starts_with('"')) {
        if (hasFewerCharacters(text, 3)) return {};
        if (!MVString::contains(text, ":")) return (text.starts_with('/') ? "Z:" : "") + std::string(text);
    }
    const std::vector<std::string> pieces = MVString::split(text, "\"");
    return pieces.size() > 1 && pieces[0].empty() ? pieces[1] : pieces[0];
}

std::string getFlagsOfWindowsPath(std::string_view commandLine) {
    const std::string_view text = withoutLeadingSpaces(commandLine);
    if (!text.starts_with('"') && (hasFewerCharacters(text, 3) || !MVString::contains(text, ":"))) return {};

    std::vector<std::string> pieces = MVString::split(text, "\"");
    if (pieces.size() == 1) return {};
    if (pieces.size() == 2) return pieces[0].empty() ? "" : pieces[1];
    pieces.erase(pieces.begin(), pieces.begin() + (pieces[0].empty() ? 2 : 1));
    return std::string(withoutLeadingSpaces(MVString::joined(pieces, "\"")));
}

std::string programFilesPathfromWrapper(const std::string& wrapper, For64BitsApplication wide) {
    const std::string block =
        getRegistry(R"([Software\\Microsoft\\Windows\\CurrentVersion])", "system", wrapper);
    std::string path;
    if (wide == For64BitsApplication::no) path = programFilesValue(block, "ProgramFilesDir (x86)");
    if (path.empty()) path = programFilesValue(block, "ProgramFilesDir");
    return path.empty() ? "C:/Program Files" : path;
}

std::optional<std::string> windowsSystemNameFromSystemCode(std::string_view code) {
    const auto* found = std::ranges::find(windowsVersions, code, &WindowsVersion::code);
    if (found == windowsVersions.end()) return std::nullopt;
    return std::string(found->name);
}

std::optional<std::string> windowsSystemCodeFromSystemName(std::string_view name) {
    const auto* found = std::ranges::find(windowsVersions, name, &WindowsVersion::name);
    if (found == windowsVersions.end()) return std::nullopt;
    return std::string(found->code);
}

}  // namespace morvane::NSUtilities
