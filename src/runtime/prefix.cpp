#include "runtime/prefix.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <utility>
#include <vector>

#include "platform/files.h"
#include "runtime/builtin_files.h"

namespace morvane::runtime {
namespace {

constexpr std::array userFolders{"Desktop",
                                 "Documents",
                                 "Downloads",
                                 "Music",
                                 "Pictures",
                                 "Videos",
                                 "AppData/Roaming/Microsoft/Windows/Templates"};

/// As Wine names the user's folder.
std::string userName() {
    const char* name = std::getenv("USER");
    if (name != nullptr && *name != '\0') return name;
    const passwd* user = ::getpwuid(::getuid());
    return user != nullptr ? user->pw_name : std::string();
}

std::vector<std::string> pathsBelow(const std::string& folder) {
    const auto paths = files::listBelow(folder);
    return failureOf(paths) != nullptr ? std::vector<std::string>()
                                       : std::get<std::vector<std::string>>(paths);
}

/// Turns what Wine linked to the home folder all the same into folders. Only in a new prefix, where nobody
/// else put links yet.
std::optional<Failure> cutLinksOut(const WrapperBundle& bundle) {
    const std::string users = bundle.driveC() + "/users";
    const auto inside = files::resolved(bundle.prefix());
    if (!inside) return Failure{bundle.prefix() + " cannot be read."};
    for (const std::string& path : pathsBelow(users)) {
        const std::string link = users + "/" + path;
        if (files::kindOf(link) != files::Kind::link) continue;
        const auto target = files::resolved(link);
        if (target && target->starts_with(*inside + "/")) continue;
        if (auto error = files::remove(link)) return Failure{link + ": " + *error};
        if (auto error = files::createFolder(link, true)) return Failure{link + ": " + *error};
    }
    return std::nullopt;
}

std::optional<Failure> bootPrefix(WineSession& session, const std::string& option) {
    const WrapperBundle& bundle = session.bundle();
    if (auto failure = makeUserFolders(bundle)) return failure;
    // Without a display Wine can't ask for anything. It returns before the registry is written.
    const int status = session.wine({"wineboot.exe", option}, bundle.prefix(), Display::hidden);
    session.waitForAll();
    if (session.stopped() != 0) return Failure{"Stopped."};
    slimPrefix(bundle);
    for (const char* name : {"system.reg", "user.reg", "dosdevices/c:", "drive_c/windows/system32"}) {
        if (files::kindBehind(bundle.prefix() + "/" + name) == files::Kind::none) {
            return Failure{"Wine (exit code " + std::to_string(status) + ") did not make " + bundle.prefix() +
                           "/" + name + "."};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Failure> makeUserFolders(const WrapperBundle& bundle) {
    const std::string name = userName();
    if (name.empty() || name.find('/') != std::string::npos || name == "..") {
        return Failure{"The user has no usable name."};
    }
    for (const char* folder : userFolders) {
        const std::string path = bundle.driveC() + "/users/" + name + "/" + folder;
        if (files::kindOf(path) != files::Kind::none) continue;
        if (auto error = files::createFolder(path, true)) return Failure{path + ": " + *error};
    }
    return std::nullopt;
}

std::optional<Failure> keepDrives(const WrapperBundle& bundle) {
    constexpr std::array<std::pair<const char*, const char*>, 2> drives{{{"c:", "../drive_c"}, {"z:", "/"}}};
    const std::string folder = bundle.prefix() + "/dosdevices";
    if (auto error = files::createFolder(folder, true)) return Failure{folder + ": " + *error};
    for (const auto& [name, destination] : drives) {
        const std::string link = folder + "/" + name;
        if (files::kindOf(link) != files::Kind::none) continue;
        if (auto error = files::createSymbolicLink(link, destination)) return Failure{link + ": " + *error};
    }
    return std::nullopt;
}

std::optional<Failure> createPrefix(WineSession& session) {
    if (auto failure = bootPrefix(session, "--init")) return failure;
    return cutLinksOut(session.bundle());
}

std::optional<Failure> updatePrefix(WineSession& session) {
    return bootPrefix(session, "--update");
}

std::string updateStampOf(const WrapperBundle& bundle) {
    const auto stamp = files::read(bundle.prefix() + "/.update-timestamp");
    return failureOf(stamp) != nullptr ? std::string() : std::get<std::string>(stamp);
}

void slimPrefix(const WrapperBundle& bundle) {
    cutDebugInformationBelow(bundle.driveC() + "/windows");
}

std::optional<Failure> installEngineFiles(const WrapperBundle& bundle) {
    const auto names = files::list(bundle.engineBin());
    if (const Failure* failure = failureOf(names))
        return Failure{bundle.engineBin() + ": " + failure->message};
    for (const std::string& name : std::get<std::vector<std::string>>(names)) {
        const std::string path = files::join(bundle.engineBin(), name);
        if (files::kindOf(path) != files::Kind::file) continue;
        if (auto error = files::setPermissions(path, 0755)) return Failure{path + ": " + *error};
    }
    return std::nullopt;
}

}  // namespace morvane::runtime
