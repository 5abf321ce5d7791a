#include "platform/trash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <optional>
#include <system_error>

#include "platform/descriptor.h"
#include "platform/files.h"
#include "platform/folder_handles.h"
#include "platform/percent_coding.h"

namespace morvane::trash {

namespace {

/// A trash folder, and how its notes name what lies on its file system.
struct Place {
    std::string folder;
    std::string top;  ///< paths are told from here; empty: whole
};

std::optional<dev_t> deviceOf(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? std::optional(status.st_dev) : std::nullopt;
}

/// Made where it is missing, and nobody's but this user's.
bool isOwnFolder(const std::string& path) {
    ::mkdir(path.c_str(), 0700);
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

bool isUsable(const std::string& folder) {
    return isOwnFolder(folder) && isOwnFolder(folder + "/files") && isOwnFolder(folder + "/info");
}

/// The folder at the top of the file system that holds the path.
std::string topOf(std::string folder, dev_t device) {
    while (folder != "/") {
        const std::string above = files::parent(folder);
        if (deviceOf(above) != device) return folder;
        folder = above;
    }
    return folder;
}

std::optional<Place> placeFor(const std::string& path, const std::string& data) {
    const auto device = deviceOf(path);
    if (!device) return std::nullopt;
    static_cast<void>(files::createFolder(data, true));
    const std::string own = data + "/Trash";
    if (isUsable(own) && deviceOf(own + "/files") == device) return Place{own, ""};
    // On the user's own file system there is no other one.
    if (deviceOf(files::resolved(data).value_or(data)) == device) return std::nullopt;
    const std::string top = topOf(files::parent(path), *device), user = std::to_string(::geteuid());
    // A shared one counts only where nobody can take the others' folders away.
    struct stat shared {};
    const std::string common = files::join(top, ".Trash");
    const bool isShared =
        ::lstat(common.c_str(), &shared) == 0 && S_ISDIR(shared.st_mode) && (shared.st_mode & S_ISVTX) != 0;
    if (isShared && isUsable(files::join(common, user))) return Place{files::join(common, user), top};
    const std::string ofUser = files::join(top, ".Trash-" + user);
    return isUsable(ofUser) ? std::optional(Place{ofUser, top}) : std::nullopt;
}

std::string noteOn(const std::string& path, const Place& place) {
    const bool isBelow = !place.top.empty();
    const std::string told = isBelow ? path.substr(place.top == "/" ? 1 : place.top.size() + 1) : path;
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 32> date{};
    std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &local);
    return "[Trash Info]\nPath=" + percent::encoded(told, "/") + "\nDeletionDate=" + date.data() + "\n";
}

/// "Game.app", "Game 2.app", and so on; a name without room for the note's ending is cut.
std::string nameFor(const std::string& name, int count) {
    constexpr std::size_t longest = 230;
    const std::string ending = files::extension(name);
    std::string base = ending.empty() ? name : files::withoutExtension(name);
    base.resize(std::min(base.size(), longest - std::min(ending.size(), longest)));
    if (count > 1) base += " " + std::to_string(count);
    return ending.empty() ? base : base + "." + ending;
}

}  // namespace

Result<std::string> take(const std::string& path, const Folders& folders) {
    constexpr int mostOfOneName = 10000;
    const auto parentFolder = files::resolved(files::parent(path));
    const std::string name = files::lastComponent(path);
    if (!parentFolder || name.empty()) return Failure{path, "no such place"};
    const std::string real = files::join(*parentFolder, name);
    if (!files::mayBeRemoved(real)) return Failure{path, "it is not to be removed as a whole"};
    const auto place = placeFor(real, folders.applicationData);
    if (!place) return Failure{path, "there is no trash on its file system"};
    const std::string note = noteOn(real, *place);
    for (int count = 1; count <= mostOfOneName; ++count) {
        const std::string free = nameFor(name, count), target = place->folder + "/files/" + free,
                          info = place->folder + "/info/" + free + ".trashinfo";
        // The note reserves the name.
        const Descriptor file(::open(info.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!file.valid() && errno == EEXIST) continue;
        if (!file.valid()) return Failure{path, std::generic_category().message(errno)};
        const bool isNoted = writeAll(file.get(), note);
        // By rename only: a copy of a game would fill the disk.
        if (isNoted && ::renameat2(AT_FDCWD, real.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
            return target;
        const int number = errno;
        ::unlink(info.c_str());
        if (number != EEXIST) return Failure{path, std::generic_category().message(number)};
    }
    return Failure{path, "the trash holds too many of that name"};
}

}  // namespace morvane::trash
