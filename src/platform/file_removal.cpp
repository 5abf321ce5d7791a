// The one routine by which folders go.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <sstream>

#include "platform/descriptor.h"
#include "platform/files.h"
#include "platform/folder_handles.h"
#include "platform/protected_folders.h"

namespace morvane::files {

namespace {

/// Opens a folder, never through a link, so that it can be listed and emptied. Folders of the same user that
/// deny that are granted the rights first: Windows programs leave read-only folders behind.
Descriptor openToEmpty(int parent, const std::string& name) {
    Descriptor place(::openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!place.valid()) return {};
    struct statx status {};
    if (::statx(place.get(), "", AT_EMPTY_PATH, STATX_MODE | STATX_UID, &status) != 0) return {};
    if ((status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) {
        // Another file system is mounted here; what it holds belongs to somebody else.
        errno = EBUSY;
        return {};
    }
    if ((status.stx_mode & S_IRWXU) != S_IRWXU && status.stx_uid == ::geteuid()) {
        // Through the open folder and not through its name, which could be a link by now.
        ::chmod(("/proc/self/fd/" + std::to_string(place.get())).c_str(),
                (status.stx_mode | S_IRWXU) & 07777u);
    }
    return Descriptor(::openat(place.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

/// One folder on the way down. The way back up is ".." with the identity checked, so that a tree of any depth
/// takes one descriptor, and a folder that somebody moves meanwhile cannot lead the removal astray.
struct Level {
    std::string name;
    dev_t device;
    ino_t inode;
    std::vector<std::string> left;  // names still to be removed, last first
};

/// One removal, from the open folder that holds the item.
class Removal {
  public:
    explicit Removal(int top) : top_(top) {}

    /// False, with `errno` set, at the first thing that cannot be removed.
    bool run(const std::string& name);

  private:
    bool enter(const std::string& name);
    bool leave();
    bool removeNext();

    int top_;
    Descriptor current_;
    std::vector<Level> levels_;
};

bool Removal::enter(const std::string& name) {
    Descriptor folder = openToEmpty(current_.get(), name);
    struct stat status {};
    if (!folder.valid() || ::fstat(folder.get(), &status) != 0) return false;
    // Not every file system that is another one is mounted: some hold several.
    struct stat above {};
    if (::fstat(current_.get(), &above) != 0) return false;
    if (status.st_dev != above.st_dev) {
        errno = EXDEV;
        return false;
    }
    auto names = entriesOf(folder.get());
    if (!names) return false;
    std::reverse(names->begin(), names->end());
    levels_.push_back({name, status.st_dev, status.st_ino, std::move(*names)});
    current_ = std::move(folder);
    return true;
}

bool Removal::leave() {
    if (levels_.empty()) {
        current_ = Descriptor(::fcntl(top_, F_DUPFD_CLOEXEC, 0));
        return current_.valid();
    }
    Descriptor above(::openat(current_.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status {};
    if (!above.valid() || ::fstat(above.get(), &status) != 0) return false;
    if (status.st_dev != levels_.back().device || status.st_ino != levels_.back().inode) {
        errno = ESTALE;
        return false;
    }
    current_ = std::move(above);
    return true;
}

bool Removal::removeNext() {
    if (levels_.back().left.empty()) {
        const std::string done = std::move(levels_.back().name);
        levels_.pop_back();
        if (!leave()) return false;
        return ::unlinkat(current_.get(), done.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT;
    }
    const std::string entry = std::move(levels_.back().left.back());
    levels_.back().left.pop_back();
    if (::unlinkat(current_.get(), entry.c_str(), 0) == 0 || errno == ENOENT) return true;
    return errno == EISDIR && enter(entry);
}

bool Removal::run(const std::string& name) {
    current_ = Descriptor(::fcntl(top_, F_DUPFD_CLOEXEC, 0));
    if (!current_.valid() || !enter(name)) return false;
    // Once more, of the folder that is open now: the name may have got another one since it was looked at.
    struct stat status {};
    if (::fstat(current_.get(), &status) != 0 || isProtected(status)) {
        errno = EBUSY;
        return false;
    }
    while (!levels_.empty()) {
        if (!removeNext()) return false;
    }
    return true;
}

/// As the table of mounts writes it: what would break a line of fields is a number.
std::string inMountTable(const std::string& path) {
    std::string text;
    for (const char character : path) {
        switch (character) {
            case ' ':
                text += "\\040";
                break;
            case '\t':
                text += "\\011";
                break;
            case '\n':
                text += "\\012";
                break;
            case '\\':
                text += "\\134";
                break;
            default:
                text += character;
        }
    }
    return text;
}

bool holdsMount(const std::string& folder) {
    const auto table = read("/proc/self/mountinfo");
    const auto real = resolved(folder);
    if (!table || !real) return false;
    const std::string inside = inMountTable(*real) + "/";
    std::istringstream lines(*table);
    for (std::string line; std::getline(lines, line);) {
        std::string number, parentNumber, device, root, place;
        std::istringstream(line) >> number >> parentNumber >> device >> root >> place;
        if (place.starts_with(inside)) return true;
    }
    return false;
}

}  // namespace

bool mayBeRemoved(const std::string& path) {
    struct stat status {};
    const std::string name = lastComponent(path);
    errno = EBUSY;
    if (name.empty() || name == "." || name == "..") return false;
    const std::string item = join(parent(path), name);
    if (::lstat(item.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return true;
    // Known before anything is gone: half a game is as bad as none.
    const bool isOurs = !isProtected(status) && !holdsMount(item);
    errno = EBUSY;
    return isOurs;
}

Result<> remove(const std::string& path) {
    if (!usable(path) || !mayBeRemoved(path)) return lastFailure(path);
    const std::string name = lastComponent(path);
    const std::string above = parent(path);
    const Descriptor folder(::open(above.empty() ? "." : above.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder.valid()) return lastFailure(path);
    if (::unlinkat(folder.get(), name.c_str(), 0) == 0) return {};
    if (errno != EISDIR) return lastFailure(path);
    if (!Removal(folder.get()).run(name)) return lastFailure(path);
    return {};
}

}  // namespace morvane::files
