#include "platform/folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>

namespace morvane {

namespace {

std::string withoutFinalSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

bool isFolder(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

/// A folder that the user names, relative to where the program was started as in any command.
std::string namedFolder(const std::string& name) {
    if (name.starts_with('/')) return withoutFinalSlash(name);
    return withoutFinalSlash(std::filesystem::weakly_canonical(std::filesystem::absolute(name)).string());
}

std::string homeFolder() {
    // Never the real home in place of a relative one: who names a folder wants to keep the two apart.
    const std::string own = environmentVariable("MORVANE_HOME");
    if (!own.empty()) return namedFolder(own);
    std::string home = environmentVariable("HOME");
    if (home.starts_with("/")) return withoutFinalSlash(std::move(home));
    const passwd* user = getpwuid(getuid());
    return user != nullptr ? withoutFinalSlash(user->pw_dir) : "/";
}

std::string resourcesFolder() {
    const std::string configured = environmentVariable("MORVANE_RESOURCES");
    if (!configured.empty()) return namedFolder(configured);
    std::error_code failed;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", failed);
    return (program.parent_path().parent_path() / "share/morvane").string();
}

}  // namespace

Folders Folders::fromEnvironment() {
    Folders folders;
    folders.home = homeFolder();
    // A home of its own is a world of its own: nothing of the machine's shared folders is touched then.
    const bool ownWorld = !environmentVariable("MORVANE_HOME").empty();
    folders.applications =
        !ownWorld && isFolder("/Applications") ? "/Applications" : folders.home + "/Applications";
    if (ownWorld && isFolder(folders.home + "/Volumes")) folders.volumes = folders.home + "/Volumes";
    const std::string cache = environmentVariable("XDG_CACHE_HOME");
    folders.temporary = ownWorld                 ? folders.home + "/Library/Caches/Morvane"
                        : cache.starts_with("/") ? withoutFinalSlash(cache) + "/morvane"
                                                 : folders.home + "/.cache/morvane";
    folders.temporary += "/passing";
    folders.sharedTemporary = "/tmp";
    folders.resources = resourcesFolder();
    folders.programs = folders.resources + "/programs";
    folders.desktop = folders.home + "/Desktop";
    folders.downloads = folders.home + "/Downloads";
    return folders;
}

std::string localeCountryCode() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const std::string value = environmentVariable(name);
        if (value.empty()) continue;
        // language[_COUNTRY][.encoding][@variant]
        const std::string locale = value.substr(0, value.find_first_of(".@"));
        const auto underscore = locale.find('_');
        return underscore == std::string::npos ? "" : locale.substr(underscore + 1);
    }
    return "";
}

std::string environmentVariable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

int currentYear() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local.tm_year + 1900;
}

}  // namespace morvane
