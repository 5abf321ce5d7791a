#include "platform/file_replacement.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <thread>

#include "platform/descriptor.h"

namespace morvane::files {

namespace {

/// The rights of the file that is replaced; without one, those of a new file.
struct Rights {
    Rights(int folder, const std::string& name) {
        struct stat old {};
        isKept = ::fstatat(folder, name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(old.st_mode);
        kept = old.st_mode & 07777U;
    }
    [[nodiscard]] mode_t ofPassing() const { return isKept ? 0600 : 0666; }
    [[nodiscard]] bool give(int file) const { return !isKept || ::fchmod(file, kept) == 0; }

    bool isKept = false;
    mode_t kept = 0;
};

bool fill(int file, std::string_view bytes, const Rights& rights) {
    return writeAll(file, bytes) && rights.give(file) && ::fsync(file) == 0;
}

/// Waits for whoever is about to put the file of that name in place, which takes a moment, or removes the file of one
/// that was killed.
bool settle(int folder, const std::string& passing) {
    const Descriptor file(
        ::openat(folder, passing.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.valid()) return errno == ENOENT;
    struct stat here {
    }, named{};
    if (::flock(file.get(), LOCK_EX) != 0 || ::fstat(file.get(), &here) != 0) return false;
    const bool isStillThere = ::fstatat(folder, passing.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
                              named.st_ino == here.st_ino && named.st_dev == here.st_dev;
    return !isStillThere || ::unlinkat(folder, passing.c_str(), 0) == 0;
}

/// Gives the file, which has no name yet, the place of whatever has the name.
bool putInPlace(int file, int folder, const std::string& name) {
    const std::string passing = ".morvane-" + std::to_string(std::hash<std::string>{}(name));
    const std::string unnamed = "/proc/self/fd/" + std::to_string(file);
    if (::flock(file, LOCK_EX) != 0) return false;
    while (::linkat(AT_FDCWD, unnamed.c_str(), folder, passing.c_str(), AT_SYMLINK_FOLLOW) != 0) {
        if (errno != EEXIST || !settle(folder, passing)) return false;
    }
    if (::renameat(folder, passing.c_str(), folder, name.c_str()) == 0) return true;
    const int number = errno;
    ::unlinkat(folder, passing.c_str(), 0);
    errno = number;
    return false;
}

/// For a file system on which a file cannot be without a name.
bool replaceByNamed(int folder, const std::string& name, std::string_view bytes, const Rights& rights) {
    const std::string passing = ".morvane-" + randomDigits();
    const Descriptor file(
        ::openat(folder, passing.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, rights.ofPassing()));
    if (!file.valid()) return false;
    if (fill(file.get(), bytes, rights) && ::renameat(folder, passing.c_str(), folder, name.c_str()) == 0) {
        return true;
    }
    const int number = errno;
    ::unlinkat(folder, passing.c_str(), 0);
    errno = number;
    return false;
}

}  // namespace

bool replaceFile(int folder, const std::string& name, std::string_view bytes) {
    const Rights rights(folder, name);
    const Descriptor file(::openat(folder, ".", O_WRONLY | O_TMPFILE | O_CLOEXEC, rights.ofPassing()));
    if (!file.valid()) {
        const bool canNot = errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL;
        return canNot && replaceByNamed(folder, name, bytes, rights);
    }
    if (!fill(file.get(), bytes, rights)) return false;
    return putInPlace(file.get(), folder, name) ||
           (errno != ENOSPC && replaceByNamed(folder, name, bytes, rights));
}

}  // namespace morvane::files
