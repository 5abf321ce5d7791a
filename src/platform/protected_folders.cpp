#include "platform/protected_folders.h"

#include <pwd.h>
#include <unistd.h>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/host.h"
#include "platform/volumes.h"

namespace morvane::files {

namespace {

bool isSame(const std::string& path, const struct stat& folder) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && status.st_dev == folder.st_dev &&
           status.st_ino == folder.st_ino;
}

bool isOrHolds(const struct stat& folder, std::string path) {
    for (; path.starts_with('/'); path = parent(path)) {
        if (isSame(path, folder)) return true;
        if (path == "/") return false;
    }
    return false;
}

}  // namespace

std::vector<std::string> protectedFolders() {
    const Folders folders = hasHost() ? host().folders : Folders::fromEnvironment();
    std::vector<std::string> places{"/",
                                    folders.home,
                                    folders.applications,
                                    folders.desktop,
                                    folders.downloads,
                                    environmentVariable("HOME"),
                                    volumes::parent(folders)};
    if (const passwd* user = getpwuid(getuid()); user != nullptr) places.emplace_back(user->pw_dir);
    for (std::string& volume : volumes::mounted(folders)) places.push_back(std::move(volume));
    if (!hasHost()) return places;
    for (std::string& folder : host().appsFolders()) places.push_back(std::move(folder));
    return places;
}

bool isProtected(const struct stat& folder) {
    for (const std::string& place : protectedFolders()) {
        // As it is written and where it really lies: a home folder may be a link to another disk.
        if (isOrHolds(folder, place) || isOrHolds(folder, resolved(place).value_or(place))) return true;
    }
    return false;
}

}  // namespace morvane::files
