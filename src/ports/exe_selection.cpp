#include "ports/exe_selection.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/name_patterns.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "platform/files.h"
#include "wrapper/windows_paths.h"

namespace morvane::NSExeSelection {
namespace {

constexpr char nul = '\0';
constexpr char mark = '\x10';

/// Shortcuts hold their texts in 8 bits or in UTF-16 at an even or an odd place: as read, thinned, and
/// thinned after dropping a character.
std::array<std::string, 3> readings(std::string_view contents) {
    return {std::string(contents), MVString::stringByRemovingEvenCharsFromString(contents),
            MVString::stringByRemovingEvenCharsFromString(
                contents.substr(std::min<std::size_t>(1, contents.size())))};
}

/// The path without its last component.
std::string_view folderOf(std::string_view path, char separator) {
    const std::size_t last = path.rfind(separator);
    return last == std::string_view::npos ? std::string_view() : path.substr(0, last);
}

/// The pieces after each occurrence of the separator; none when it is empty or does not occur.
std::vector<std::string> piecesAfter(std::string_view text, std::string_view separator) {
    if (separator.empty()) return {};
    auto pieces = MVString::split(text, separator);
    pieces.erase(pieces.begin());
    return pieces;
}

std::string withBackslashes(std::string_view path) {
    return MVString::replacedAll(path, "/", "\\");
}
std::string withSlashes(std::string_view path) {
    return MVString::replacedAll(path, "\\", "/");
}

/// Each byte of an 8-bit text as the character of that code.
std::string utf8FromEightBit(std::string_view text) {
    std::string result;
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x80) {
            result += character;
        } else {
            result += static_cast<char>(static_cast<unsigned char>(0xc0 | code >> 6));
            result += static_cast<char>(static_cast<unsigned char>(0x80 | (code & 0x3f)));
        }
    }
    return result;
}

std::string contentsOf(const std::string& file, Encoding encoding) {
    return MVString::stringWithContentsOfFile(file, encoding).value_or("");
}

bool isBlank(char character) {
    return std::string_view(" \t\r\n\v\f").find(character) != std::string_view::npos;
}

/// The values of a key, one after another; white space before a value, line ends included, is skipped.
std::string valuesOf(std::string_view key, std::string_view text) {
    std::string values;
    for (std::size_t at = text.find(key); at != std::string_view::npos; at = text.find(key, at)) {
        at += key.size();
        while (at < text.size() && isBlank(text[at])) ++at;
        const std::size_t end = std::min(text.find('\n', at), text.size());
        values += text.substr(at, end - at);
        at = end;
    }
    return values;
}

/// The program that an autorun file starts, as it stands there but for quotes.
std::string autorunValue(const std::string& file) {
    const std::string text = contentsOf(file, Encoding::eightBit);
    std::string value = valuesOf("open=", text);
    if (value.empty()) value = valuesOf("OPEN=", text);
    return utf8FromEightBit(MVString::replacedAll(value, "\"", ""));
}

/// Without its last character: the carriage return of a line ended by CR LF. Of a line ended by a bare line
/// feed the last character of the name is lost; discs are made with CR LF.
std::string withoutLastCharacter(std::string text) {
    while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xc0) == 0x80) text.pop_back();
    if (!text.empty()) text.pop_back();
    return text;
}

/// Whether a level of the path leads upwards.
bool climbs(std::string_view path) {
    const auto levels = MVString::split(path, "/");
    return std::find(levels.begin(), levels.end(), "..") != levels.end();
}

struct Selection {
    std::string path, flags;
};

Selection shortcutSelection(std::string_view contents) {
    const std::string path = getLNKPathFromFileContents(contents, ".EXE");
    return {utf8FromEightBit(path), utf8FromEightBit(getLNKFlagsFromFileContents(contents, path))};
}

Selection desktopEntrySelection(const std::string& contents, const std::string& wrapper) {
    if (MVString::contains(contents, "steam://rungameid/")) {
        return {getSteamExePathForPort(wrapper), getURLFlagsFromSteamFileContents(contents)};
    }
    if (const auto shortcut = getLNKFileFromDESKTOPFileContents(contents, wrapper)) {
        return shortcutSelection(contentsOf(*shortcut, Encoding::eightBit));
    }
    return {getEXEFileFromDESKTOPFileContents(contents), ""};
}

Selection selectionOf(const std::string& file, const std::string& wrapper) {
    const std::string name = MVString::lowercased(file);
    if (name.ends_with(".lnk")) return shortcutSelection(contentsOf(file, Encoding::eightBit));
    if (name.ends_with(".desktop")) return desktopEntrySelection(contentsOf(file, Encoding::utf8), wrapper);
    if (name.ends_with(".url")) {
        const std::string contents = contentsOf(file, Encoding::eightBit);
        return {getSteamExePathForPort(wrapper),
                utf8FromEightBit(getURLFlagsFromSteamFileContents(contents))};
    }
    if (name.ends_with(".inf")) return {getAutorunPathFromFile(file, wrapper), ""};
    return {pathByUpdatingPath(file, wrapper), ""};
}

}  // namespace

std::string selectAsMainExe(const std::string& file, const std::string& wrapper) {
    const Selection selection = selectionOf(file, wrapper);
    return "\"" + withBackslashes(selection.path) + "\" " + selection.flags;
}

std::string getLNKPathFromFileContents(std::string_view contents, std::string_view type) {
    for (const std::string& reading : readings(contents)) {
        if (auto path = getLNKPathFromString(reading, type)) return *path;
    }
    return "";
}

std::optional<std::string> getLNKPathFromString(std::string_view text, std::string_view type) {
    std::string extension = MVString::lowercased(type);
    if (!MVString::contains(text, extension)) extension = type;
    if (extension.empty()) return std::nullopt;
    auto pieces = MVString::split(text, extension);
    pieces.pop_back();
    for (const std::string& piece : pieces) {
        for (std::size_t j = piece.size(); j-- > 1;) {
            const bool isDrive = piece[j] == ':';
            if (!isDrive && piece[j] != nul && !(piece[j] == '.' && piece[j - 1] == '.')) continue;
            if (isDrive) return withSlashes(piece.substr(j - 1) + extension);
            if (j + 1 < piece.size() && piece[j + 1] == '\\') {
                return withSlashes(getLNKDriveFromString(text) + ":" + piece.substr(j + 1) + extension);
            }
            break;
        }
    }
    return std::nullopt;
}

std::string getLNKDriveFromString(std::string_view text) {
    const auto pieces = MVString::split(text, ":\\");
    if (pieces.size() < 2) return "C";
    for (const std::string& piece : pieces) {
        if (piece.empty()) return "C";
        if (piece.back() != nul) return std::string(1, piece.back());
    }
    return "C";
}

std::string getLNKFlagsFromFileContents(std::string_view contents, std::string_view path) {
    const std::string folder = withBackslashes(folderOf(path, '/'));
    const std::string folderKey = folder.size() > 2 ? folder.substr(2) : "";
    for (const std::string& reading : readings(contents)) {
        if (auto flags = getLNKFlagsFromString(reading, folderKey)) return *flags;
    }
    return getLNKFlagsFromRareString(contents, withBackslashes(path)).value_or("");
}

std::optional<std::string> getLNKFlagsFromString(std::string_view text, std::string_view folder) {
    for (const std::string& piece : piecesAfter(text, folder)) {
        const std::size_t end = piece.find(nul);
        if (end == std::string::npos || end < 3 || piece.front() != mark) continue;
        return piece.substr(1, end - 2);
    }
    return std::nullopt;
}

std::optional<std::string> getLNKFlagsFromRareString(std::string_view text, std::string_view path) {
    const auto pieces = piecesAfter(text, path);
    if (pieces.empty() || pieces.front().size() < 3) return std::nullopt;
    const std::string thinned = MVString::stringByRemovingEvenCharsFromString(pieces.front().substr(2));
    const auto fields = MVString::split(thinned, std::string_view(&nul, 1));
    if (fields.size() < 2 || fields[1].size() < 2) return std::nullopt;
    if (MVString::contains(fields[1], folderOf(path, '\\'))) return std::nullopt;
    return fields[1].substr(1);
}

std::optional<std::string> getLNKFileFromDESKTOPFileContents(std::string_view contents,
                                                             const std::string& wrapper) {
    const std::string fragment = NSUtilities::getFragmentAfter(" /Unix ", "\n", contents);
    std::string path = MVString::replacedAll(fragment, "\\", "");
    constexpr std::string_view drives = "/dosdevices/";
    if (const std::size_t at = path.find(drives); at != std::string::npos) {
        const std::string windowsPath = path.substr(at + drives.size());
        // An entry of a wrapper names a file on one of its drives, never one above them.
        if (climbs(windowsPath)) return std::nullopt;
        path = NSUtilities::getMacPathForWindowsPath(windowsPath, wrapper).value_or("");
    }
    if (path.empty() || !MVFileManager::regularFileExistsAtPath(path)) return std::nullopt;
    return path;
}

std::string getEXEFileFromDESKTOPFileContents(std::string_view contents) {
    std::string path = withSlashes(NSUtilities::getFragmentAfter(" wine ", "\n", contents));
    // Wine writes up to four separators for one.
    path = MVString::replacedAll(MVString::replacedAll(path, "//", "/"), "//", "/");
    path = MVString::replacedAll(path, "/ ", " ");
    path.erase(path.find_last_not_of(' ') + 1);
    return path;
}

std::string getDESKTOPPathFromFileContents(std::string_view contents, const std::string& wrapper) {
    if (const auto shortcut = getLNKFileFromDESKTOPFileContents(contents, wrapper)) {
        return getLNKPathFromFileContents(contentsOf(*shortcut, Encoding::eightBit), ".EXE");
    }
    return getEXEFileFromDESKTOPFileContents(contents);
}

std::string getDESKTOPFlagsFromFileContents(std::string_view contents, std::string_view path,
                                            const std::string& wrapper) {
    const auto shortcut = getLNKFileFromDESKTOPFileContents(contents, wrapper);
    if (!shortcut) return "";
    return getLNKFlagsFromFileContents(contentsOf(*shortcut, Encoding::eightBit), path);
}

std::string getURLFlagsFromSteamFileContents(std::string_view contents) {
    const std::string fragment = NSUtilities::getFragmentAfter("steam://rungameid/", "\n", contents);
    if (fragment.empty()) return "";
    const std::size_t first = std::min(fragment.find_first_not_of("\r\n"), fragment.size());
    const std::size_t last = fragment.find_last_not_of("\r\n");
    return "-applaunch " + fragment.substr(first, last + 1 - first);
}

std::string getSteamExePathForPort(const std::string& wrapper) {
    return NSUtilities::programFilesPathfromWrapper(wrapper, For64BitsApplication::no) + "/Steam/steam.exe";
}

std::string getAutorunPathFromFile(const std::string& file, const std::string& wrapper) {
    const std::string program = std::string(folderOf(file, '/')) + "/" + autorunValue(file);
    return NSUtilities::getWindowsPathForMacPath(withoutLastCharacter(program), wrapper);
}

std::string pathByUpdatingPath(const std::string& path, const std::string& wrapper) {
    const std::string autorun = path + "/autorun.inf";
    if (MVFileManager::fileExistsAtPath(autorun)) return getAutorunPathFromFile(autorun, wrapper);
    return NSUtilities::getWindowsPathForMacPath(path, wrapper);
}

std::optional<std::string> autorunProgram(const std::string& file) {
    const std::string pattern = withoutLastCharacter(autorunValue(file));
    if (pattern.empty()) return std::nullopt;
    const std::string folder = files::parent(file);
    auto matches = MVFileManager::filesCompatibleWithStructure(pattern, folder);
    // Values name programs in subfolders with the separators of Windows.
    if (matches.empty()) matches = MVFileManager::filesCompatibleWithStructure(withSlashes(pattern), folder);
    if (matches.empty()) return std::nullopt;
    return matches.front();
}

}  // namespace morvane::NSExeSelection
