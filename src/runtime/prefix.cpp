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
    return !paths ? std::vector<std::string>() : *paths;
}

/// Turns what Wine linked to the home folder all the same into folders. Only in a new prefix, where nobody
/// else put links yet.
Result<> cutLinksOut(const WrapperBundle& bundle) {
    const std::string users = bundle.wrapper.driveC() + "/users";
    const auto inside = files::resolved(bundle.wrapper.prefix());
    if (!inside) return Failure{bundle.wrapper.prefix() + " cannot be read."};
    for (const std::string& path : pathsBelow(users)) {
        const std::string link = users + "/" + path;
        if (files::kindOf(link) != files::Kind::link) continue;
        const auto target = files::resolved(link);
        if (target && target->starts_with(*inside + "/")) continue;
        if (const auto done = files::remove(link); !done) return Failure{link + ": " + done.error().why};
        if (const auto done = files::createFolder(link, true); !done)
            return Failure{link + ": " + done.error().why};
    }
    return {};
}

Result<> bootPrefix(WineSession& session, const std::string& option) {
    const WrapperBundle& bundle = session.bundle();
    if (auto checked = makeUserFolders(bundle); !checked) return checked;
    // Without a display Wine can't ask for anything. It returns before the registry is written.
    const int status = session.wine({"wineboot.exe", option}, bundle.wrapper.prefix(), Display::hidden);
    session.waitUntilIdle();
    if (session.stopped() != 0) return Failure{"Stopped."};
    slimPrefix(bundle);
    for (const char* name : {"system.reg", "user.reg", "dosdevices/c:", "drive_c/windows/system32"}) {
        if (files::kindBehind(bundle.wrapper.prefix() + "/" + name) == files::Kind::none) {
            return Failure{"Wine (exit code " + std::to_string(status) + ") did not make " +
                           bundle.wrapper.prefix() + "/" + name + "."};
        }
    }
    return {};
}

}  // namespace

Result<> makeUserFolders(const WrapperBundle& bundle) {
    const std::string name = userName();
    if (name.empty() || name.find('/') != std::string::npos || name == "..") {
        return Failure{"The user has no usable name."};
    }
    for (const char* folder : userFolders) {
        const std::string path = bundle.wrapper.driveC() + "/users/" + name + "/" + folder;
        if (files::kindOf(path) != files::Kind::none) continue;
        if (const auto done = files::createFolder(path, true); !done)
            return Failure{path + ": " + done.error().why};
    }
    return {};
}

Result<> keepDrives(const WrapperBundle& bundle) {
    constexpr std::array<std::pair<const char*, const char*>, 2> drives{{{"c:", "../drive_c"}, {"z:", "/"}}};
    const std::string folder = bundle.wrapper.dosdevices();
    if (const auto done = files::createFolder(folder, true); !done)
        return Failure{folder + ": " + done.error().why};
    for (const auto& [name, destination] : drives) {
        const std::string link = folder + "/" + name;
        if (files::kindOf(link) != files::Kind::none) continue;
        if (const auto done = files::createSymbolicLink(link, destination); !done)
            return Failure{link + ": " + done.error().why};
    }
    return {};
}

Result<> createPrefix(WineSession& session) {
    if (auto checked = bootPrefix(session, "--init"); !checked) return checked;
    return cutLinksOut(session.bundle());
}

Result<> updatePrefix(WineSession& session) {
    return bootPrefix(session, "--update");
}

std::string updateStampOf(const WrapperBundle& bundle) {
    const auto stamp = files::read(bundle.wrapper.prefix() + "/.update-timestamp");
    return !stamp ? std::string() : *stamp;
}

void slimPrefix(const WrapperBundle& bundle) {
    cutDebugInformationBelow(bundle.wrapper.driveC() + "/windows");
}

Result<> installEngineFiles(const WrapperBundle& bundle) {
    const auto names = files::list(bundle.wrapper.engineBin());
    if (!names) return names.error();
    for (const std::string& name : *names) {
        const std::string path = files::join(bundle.wrapper.engineBin(), name);
        if (files::kindOf(path) != files::Kind::file) continue;
        if (const auto done = files::setPermissions(path, 0755); !done)
            return Failure{path + ": " + done.error().why};
    }
    return {};
}

}  // namespace morvane::runtime
