#include "platform/user_folders.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>

#include "platform/files.h"
#include "platform/folders.h"

namespace morvane::user_folders {

namespace {

std::string withoutFinalSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

bool isSomebodyElses(const std::string& folder) {
    struct stat status {};
    return ::stat(folder.c_str(), &status) == 0 && status.st_uid != ::geteuid();
}

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

/// Takes the beginning off the text where it is there.
bool take(std::string_view& text, std::string_view beginning) {
    if (!text.starts_with(beginning)) return false;
    text.remove_prefix(beginning.size());
    return true;
}

/// The folder of one line; nothing for every other line.
std::optional<std::string> folderOfLine(std::string_view line, std::string_view purpose,
                                        const std::string& home) {
    line = withoutBlanks(line);
    if (!take(line, "XDG_") || !take(line, purpose) || !take(line, "_DIR")) return std::nullopt;
    line = withoutBlanks(line);
    if (!take(line, "=")) return std::nullopt;
    line = withoutBlanks(line);
    if (!take(line, "\"")) return std::nullopt;
    std::string folder;
    if (take(line, "$HOME")) {
        if (!line.starts_with('/') && !line.starts_with('"')) return std::nullopt;
        folder = home;
    } else if (!line.starts_with('/')) {
        return std::nullopt;
    }
    for (; !line.empty() && line.front() != '"'; line.remove_prefix(1)) {
        if (line.front() == '\\' && line.size() > 1) line.remove_prefix(1);
        folder += line.front();
    }
    if (line.empty() || folder.find('\0') != std::string::npos) return std::nullopt;
    return withoutFinalSlashes(std::move(folder));
}

}  // namespace

std::string home() {
    std::string folder = environmentVariable("HOME");
    const bool isAbsolute = folder.starts_with('/');
    if (isAbsolute && !isSomebodyElses(folder)) return withoutFinalSlashes(std::move(folder));
    const passwd* user = ::getpwuid(::geteuid());
    if (user != nullptr && *user->pw_dir == '/') return withoutFinalSlashes(user->pw_dir);
    return isAbsolute ? withoutFinalSlashes(std::move(folder)) : "/";
}

std::string base(const char* variable, const std::string& home, std::string_view tail) {
    std::string folder = environmentVariable(variable);
    return folder.starts_with('/') ? withoutFinalSlashes(std::move(folder)) : files::join(home, tail);
}

std::string entryFor(std::string_view purpose, const std::string& home, std::string_view text) {
    std::string found;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (auto folder = folderOfLine(text.substr(0, end), purpose, home)) found = *std::move(folder);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return found;
}

std::string named(std::string_view purpose, const std::string& home, std::string_view usual) {
    const auto text = files::read(base("XDG_CONFIG_HOME", home, ".config") + "/user-dirs.dirs");
    std::string folder = text ? entryFor(purpose, home, *text) : "";
    return folder.empty() ? files::join(home, usual) : folder;
}

}  // namespace morvane::user_folders
