#include "platform/folders.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "platform/files.h"
#include "platform/user_folders.h"

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
    // A home of its own is a world of its own: nothing of the machine's shared folders is touched then, and
    // never is it the real home in place of a relative one: who names a folder wants to keep the two apart.
    const std::string own = environmentVariable("MORVANE_HOME");
    if (!own.empty()) {
        folders.home = folders.library = namedFolder(own);
        folders.applications = folders.home + "/Applications";
        if (isFolder(folders.home + "/Volumes")) folders.volumes = folders.home + "/Volumes";
        folders.temporary = folders.home + "/Library/Caches/Morvane/passing";
        folders.verbsCache = folders.home + "/.cache/winetricks";
        folders.applicationData = folders.home + "/.local/share";
        folders.desktop = folders.home + "/Desktop";
        folders.downloads = folders.home + "/Downloads";
    } else {
        folders.home = user_folders::home();
        folders.applications =
            isFolder("/Applications") ? "/Applications" : files::join(folders.home, "Applications");
        const std::string cache = user_folders::base("XDG_CACHE_HOME", folders.home, ".cache");
        folders.temporary = cache + "/morvane/passing";
        folders.verbsCache = cache + "/winetricks";
        folders.applicationData = user_folders::base("XDG_DATA_HOME", folders.home, ".local/share");
        folders.library = folders.applicationData + "/morvane";
        folders.desktop = user_folders::named("DESKTOP", folders.home, "Desktop");
        folders.downloads = user_folders::named("DOWNLOAD", folders.home, "Downloads");
    }
    folders.sharedTemporary = "/tmp";
    folders.resources = resourcesFolder();
    folders.programs = folders.resources + "/programs";
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
