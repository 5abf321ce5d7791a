#include "runtime/windows_programs.h"

#include <strings.h>

#include <algorithm>
#include <cctype>

#include "platform/files.h"
#include "platform/utf8.h"

namespace morvane::runtime {
namespace {

constexpr std::string_view white = " \t\r\n";

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Whether the line is more than one command. Inside quotes these characters mean themselves.
bool changesLine(std::string_view line) {
    bool quoted = false;
    for (const char c : line) {
        if (c == '"') quoted = !quoted;
        if (c == '\r' || c == '\n') return true;
        if (!quoted && std::string_view("&|<>^").find(c) != std::string_view::npos) return true;
    }
    return false;
}

std::optional<std::string> entryWithoutCase(const std::string& folder, const std::string& name) {
    const std::string exact = files::join(folder, name);
    if (files::kindBehind(exact) != files::Kind::none) return exact;
    const auto names = files::list(folder);
    if (!names) return std::nullopt;
    for (const std::string& entry : *names) {
        if (::strcasecmp(entry.c_str(), name.c_str()) == 0) return files::join(folder, entry);
    }
    return std::nullopt;
}

}  // namespace

std::vector<std::string> splitArguments(std::string_view text) {
    std::vector<std::string> arguments;
    std::string current;
    bool quoted = false, begun = false;
    std::size_t backslashes = 0;
    for (const char c : text) {
        if (c == '\\') {
            ++backslashes;
            continue;
        }
        const bool beforeQuote = c == '"';
        current.append(beforeQuote ? backslashes / 2 : backslashes, '\\');
        begun = begun || backslashes > 0;
        const bool escaped = beforeQuote && backslashes % 2 == 1;
        backslashes = 0;
        if (beforeQuote && !escaped) {
            quoted = !quoted;
            begun = true;
        } else if (!quoted && white.find(c) != std::string_view::npos) {
            if (begun) arguments.push_back(std::move(current));
            current.clear();
            begun = false;
        } else {
            current += c;
            begun = true;
        }
    }
    current.append(backslashes, '\\');
    if (begun || backslashes > 0) arguments.push_back(std::move(current));
    return arguments;
}

std::optional<StartLine> startLineOf(std::string_view batchFile) {
    std::string_view line = utf8::trimmed(batchFile);
    constexpr std::string_view start = "start";
    if (line.size() > start.size() && ::strncasecmp(line.data(), start.data(), start.size()) == 0 &&
        white.find(line[start.size()]) != std::string_view::npos) {
        line = utf8::trimmed(line.substr(start.size()));
    }
    const std::size_t end = line.starts_with('"') ? line.find('"', 1) : std::string_view::npos;
    if (end == std::string_view::npos || changesLine(line) || line.find('%', end) != std::string_view::npos) {
        return std::nullopt;
    }
    StartLine result{std::string(line.substr(1, end - 1)), std::string(utf8::trimmed(line.substr(end + 1)))};
    if (!isWindowsPath(result.program)) return std::nullopt;  // a window title, then
    return result;
}

bool isWindowsPath(std::string_view path) {
    return path.size() > 2 && isLetter(path[0]) && path[1] == ':';
}

std::optional<std::string> hostPathOf(const std::string& prefix, std::string_view windowsPath) {
    if (!isWindowsPath(windowsPath)) return std::nullopt;
    const char drive = static_cast<char>(std::tolower(static_cast<unsigned char>(windowsPath[0])));
    std::optional<std::string> path = files::resolved(prefix + "/dosdevices/" + drive + ":");
    std::string rest(windowsPath.substr(2));
    std::replace(rest.begin(), rest.end(), '\\', '/');
    for (std::size_t place = 0; path && place < rest.size();) {
        const std::size_t end = std::min(rest.find('/', place), rest.size());
        const std::string name = rest.substr(place, end - place);
        if (!name.empty() && name != ".") path = entryWithoutCase(*path, name);
        place = end + 1;
    }
    return path;
}

std::string lowerCaseExtension(const std::string& path) {
    std::string extension = files::extension(path);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

}  // namespace morvane::runtime
