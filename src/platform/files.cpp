#include "platform/files.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>

#include "platform/descriptor.h"
#include "platform/file_replacement.h"
#include "platform/folder_handles.h"

namespace morvane::files {
namespace {

/// Between two questions whether to go on, a copy moves this much.
constexpr std::int64_t copyChunk = 16 << 20;

std::string_view withoutFinalSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path;
}

Kind kindOfMode(mode_t mode) {
    if (S_ISREG(mode)) return Kind::file;
    if (S_ISDIR(mode)) return Kind::folder;
    if (S_ISLNK(mode)) return Kind::link;
    return Kind::other;
}

/// An unlikely name that is short enough beside a name of the full length.
std::string temporaryName() {
    return ".morvane-" + randomDigits();
}

// ---- Copying

using GoOn = std::function<bool()>;

bool mayGoOn(const GoOn& goOn) {
    if (!goOn || goOn()) return true;
    errno = ECANCELED;
    return false;
}

/// Moves the bytes of one stretch with the system's own copy where it can.
bool copyStretch(int in, int out, std::int64_t from, std::int64_t to, const GoOn& goOn) {
    bool inKernel = true;
    std::vector<char> buffer;
    for (std::int64_t at = from; at < to;) {
        if (!mayGoOn(goOn)) return false;
        const auto wanted = static_cast<std::size_t>(std::min(copyChunk, to - at));
        if (inKernel) {
            off64_t inAt = at, outAt = at;
            const ssize_t count = ::copy_file_range(in, &inAt, out, &outAt, wanted, 0);
            if (count > 0) {
                at += count;
                continue;
            }
            if (count < 0 && errno == EINTR) continue;
            if (count < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EIO || errno == EFBIG))
                return false;
            inKernel = false;
        }
        buffer.resize(std::min<std::size_t>(wanted, 1 << 20));
        const ssize_t count = ::pread(in, buffer.data(), buffer.size(), at);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        if (count == 0) return true;  // the file has become shorter
        for (ssize_t done = 0; done < count;) {
            const ssize_t written =
                ::pwrite(out, buffer.data() + done, static_cast<std::size_t>(count - done), at + done);
            if (written < 0 && errno == EINTR) continue;
            if (written < 0) return false;
            done += written;
        }
        at += count;
    }
    return true;
}

bool copyBytes(int in, int out, std::int64_t size, const GoOn& goOn) {
    if (::ioctl(out, FICLONE, in) == 0) return true;
    for (std::int64_t at = 0; at < size;) {
        std::int64_t data = ::lseek(in, at, SEEK_DATA);
        if (data < 0 && errno == ENXIO) break;  // only a hole is left
        if (data < 0) data = at;
        std::int64_t hole = ::lseek(in, data, SEEK_HOLE);
        if (hole <= data) hole = size;
        if (!copyStretch(in, out, data, std::min(hole, size), goOn)) return false;
        at = hole;
    }
    return ::ftruncate(out, size) == 0;
}

bool keepModeAndTimes(int descriptor, const struct stat& status) {
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    return ::fchmod(descriptor, status.st_mode & 07777u) == 0 && ::futimens(descriptor, times.data()) == 0;
}

bool copyFile(int from, const std::string& name, int to, const std::string& newName, const GoOn& goOn) {
    // Without blocking, should the file have become a pipe since it was looked at.
    const Descriptor in(::openat(from, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!in.valid() || ::fstat(in.get(), &status) != 0) return false;
    Descriptor out(::openat(to, newName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!out.valid()) return false;
    if (!copyBytes(in.get(), out.get(), status.st_size, goOn)) return false;
    if (!keepModeAndTimes(out.get(), status)) return false;
    return ::close(out.release()) == 0;  // some file systems tell of a full disk only now
}

bool copyLink(int from, const std::string& name, int to, const std::string& newName,
              const struct stat& status) {
    std::vector<char> target(4096 + 1);
    const ssize_t length = ::readlinkat(from, name.c_str(), target.data(), target.size() - 1);
    if (length < 0) return false;
    target[static_cast<std::size_t>(length)] = '\0';
    if (::symlinkat(target.data(), to, newName.c_str()) != 0) return false;
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    ::utimensat(to, newName.c_str(), times.data(), AT_SYMLINK_NOFOLLOW);  // not every file system keeps them
    return true;
}

bool copyEntry(int from, const std::string& name, int to, const std::string& newName, const GoOn& goOn);

bool copyFolder(int from, const std::string& name, int to, const std::string& newName, const GoOn& goOn) {
    constexpr int asFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const Descriptor in(::openat(from, name.c_str(), asFolder));
    struct stat status {};
    if (!in.valid() || ::fstat(in.get(), &status) != 0) return false;
    if (::mkdirat(to, newName.c_str(), 0700) != 0) return false;
    const Descriptor out(::openat(to, newName.c_str(), asFolder));
    if (!out.valid()) return false;
    const auto names = entriesOf(in.get());
    if (!names) return false;
    for (const std::string& entry : *names) {
        if (!copyEntry(in.get(), entry, out.get(), entry, goOn)) return false;
    }
    return keepModeAndTimes(out.get(), status);
}

bool copyEntry(int from, const std::string& name, int to, const std::string& newName, const GoOn& goOn) {
    if (!mayGoOn(goOn)) return false;
    struct stat status {};
    if (::fstatat(from, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
    switch (kindOfMode(status.st_mode)) {
        case Kind::folder:
            return copyFolder(from, name, to, newName, goOn);
        case Kind::file:
            return copyFile(from, name, to, newName, goOn);
        case Kind::link:
            return copyLink(from, name, to, newName, status);
        default:
            return ::mknodat(to, newName.c_str(), status.st_mode, status.st_rdev) == 0;
    }
}

/// True when the path lies inside the folder, links resolved.
bool liesInside(const std::string& path, const std::string& folder) {
    const auto real = resolved(path);
    const auto realFolder = resolved(folder);
    return real && realFolder && real->starts_with(*realFolder + "/");
}

// ---- Moving

/// A rename that never replaces anything.
bool renameOnly(const std::string& source, const std::string& destination) {
    if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, destination.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    // A file system without that flag.
    if (kindOf(destination) != Kind::none) {
        errno = EEXIST;
        return false;
    }
    return ::rename(source.c_str(), destination.c_str()) == 0;
}

/// Copies under a passing name, so that the destination appears whole or not at all; the source goes last.
Result<> moveBetweenFileSystems(const std::string& source, const std::string& destination, const GoOn& goOn) {
    const std::string passing = join(parent(destination), temporaryName());
    Result<> done = copy(source, passing, goOn);
    if (done) {
        const Descriptor folder(::open(parent(destination).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        // The only copy is about to go: it has to be on the disk, and late write errors have to show.
        if (folder.valid() && ::syncfs(folder.get()) != 0) done = lastFailure(source);
        if (done && !renameOnly(passing, destination)) done = lastFailure(source);
    }
    if (!done) {
        if (kindOf(passing) != Kind::none) static_cast<void>(remove(passing));
        return done;
    }
    return remove(source);
}

Result<> writeInPlace(const std::string& path, std::string_view bytes) {
    Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file.valid() || !writeAll(file.get(), bytes) || ::close(file.release()) != 0)
        return lastFailure(path);
    return {};
}

Result<> writeAtomically(const std::string& path, std::string_view bytes) {
    const std::string name = lastComponent(path);
    const Descriptor folder(::open(parent(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.valid() || !replaceFile(folder.get(), name, bytes)) return lastFailure(path);
    ::fsync(folder.get());  // the file is in place already; a file system that cannot do this loses nothing
    return {};
}

bool listInto(int folder, const std::string& prefix, std::vector<std::string>& paths) {
    const auto names = entriesOf(folder);
    if (!names) return false;
    for (const std::string& name : *names) {
        paths.push_back(prefix + name);
        const Descriptor inner(::openat(folder, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (inner.valid()) listInto(inner.get(), paths.back() + "/", paths);
    }
    return true;
}

}  // namespace

Kind kindOf(const std::string& path) {
    struct stat status {};
    if (!usable(path) || ::lstat(path.c_str(), &status) != 0) return Kind::none;
    return kindOfMode(status.st_mode);
}

Kind kindBehind(const std::string& path) {
    struct stat status {};
    if (!usable(path) || ::stat(path.c_str(), &status) != 0) return Kind::none;
    return kindOfMode(status.st_mode);
}

bool isExecutable(const std::string& path) {
    return kindBehind(path) != Kind::folder && usable(path) && ::access(path.c_str(), X_OK) == 0;
}

bool isWritable(const std::string& path) {
    return usable(path) && ::access(path.c_str(), W_OK) == 0;
}

Result<> createSymbolicLink(const std::string& path, const std::string& destination) {
    if (!usable(path) || !usable(destination)) return lastFailure(path);
    if (::symlink(destination.c_str(), path.c_str()) != 0) return lastFailure(path);
    return {};
}

Result<std::string> destinationOfLink(const std::string& path) {
    std::string destination(256, '\0');
    for (;;) {
        if (!usable(path)) return lastFailure(path);
        const ssize_t length = ::readlink(path.c_str(), destination.data(), destination.size());
        if (length < 0) return lastFailure(path);
        if (static_cast<std::size_t>(length) < destination.size()) {
            destination.resize(static_cast<std::size_t>(length));
            return destination;
        }
        destination.resize(destination.size() * 2);
    }
}

Result<> createFolder(const std::string& path, bool withParents) {
    if (!usable(path)) return lastFailure(path);
    if (::mkdir(path.c_str(), 0777) == 0) return {};
    if (!withParents) return lastFailure(path);
    if (errno == EEXIST) {
        if (kindBehind(path) == Kind::folder) return {};
        return failureAt(path, EEXIST);
    }
    const std::string above = parent(path);
    if (errno != ENOENT || above.empty() || above == path) return lastFailure(path);
    if (auto made = createFolder(above, true); !made) return made;
    if (::mkdir(path.c_str(), 0777) == 0) return {};
    const int number = errno;
    if (number == EEXIST && kindBehind(path) == Kind::folder) return {};  // somebody else was faster
    return failureAt(path, number);
}

Result<> move(const std::string& source, const std::string& destination, const std::function<bool()>& goOn) {
    if (!usable(source) || !usable(destination)) return lastFailure(source);
    const std::string from(withoutFinalSlashes(source));
    const std::string to(withoutFinalSlashes(destination));
    if (renameOnly(from, to)) return {};
    if (errno != EXDEV) return lastFailure(source);
    if (kindOf(to) != Kind::none) return failureAt(source, EEXIST);
    // Before hours are spent on a copy of what has to stay.
    if (!mayBeRemoved(from)) return lastFailure(source);
    return moveBetweenFileSystems(from, to, goOn);
}

Result<> copy(const std::string& source, const std::string& destination, const std::function<bool()>& goOn) {
    if (!usable(source) || !usable(destination)) return lastFailure(source);
    const std::string from(withoutFinalSlashes(source));
    const std::string to(withoutFinalSlashes(destination));
    // A folder copied into itself would never end.
    if (kindOf(from) == Kind::folder && liesInside(to, from)) return failureAt(source, EINVAL);
    if (!copyEntry(AT_FDCWD, from, AT_FDCWD, to, goOn)) return lastFailure(source);
    return {};
}

Result<std::vector<std::string>> list(const std::string& folder) {
    if (!usable(folder)) return lastFailure(folder);
    const Descriptor open(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!open.valid()) return lastFailure(folder);
    auto names = entriesOf(open.get());
    if (!names) return lastFailure(folder);
    return std::move(*names);
}

Result<std::vector<std::string>> listBelow(const std::string& folder) {
    if (!usable(folder)) return lastFailure(folder);
    const Descriptor open(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::vector<std::string> paths;
    if (!open.valid() || !listInto(open.get(), "", paths)) return lastFailure(folder);
    return paths;
}

std::optional<std::uint64_t> size(const std::string& path) {
    struct stat status {};
    if (!usable(path) || ::lstat(path.c_str(), &status) != 0) return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

std::optional<std::uint64_t> freeSpace(const std::string& path) {
    struct statvfs status {};
    if (!usable(path) || ::statvfs(path.c_str(), &status) != 0) return std::nullopt;
    return static_cast<std::uint64_t>(status.f_bavail) * status.f_frsize;
}

Result<> setPermissions(const std::string& path, unsigned mode) {
    if (!usable(path) || ::chmod(path.c_str(), mode & 07777u) != 0) return lastFailure(path);
    return {};
}

Result<std::string> read(const std::string& path) {
    if (!usable(path)) return lastFailure(path);
    // Without waiting for somebody at the other end of a pipe.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.valid() || ::fstat(file.get(), &status) != 0) return lastFailure(path);
    if (S_ISDIR(status.st_mode)) return failureAt(path, EISDIR);
    if (!S_ISREG(status.st_mode)) return Failure{path, "It is no file with contents of its own."};
    if (static_cast<std::uint64_t>(status.st_size) > longestRead) return failureAt(path, EFBIG);
    std::string bytes;
    std::size_t filled = 0;
    // One byte more than the size, so that the end is seen without growing; /proc's files have the size 0.
    bytes.resize(static_cast<std::size_t>(std::max<off_t>(status.st_size, 0)) + 1);
    for (;;) {
        const ssize_t count = ::read(file.get(), bytes.data() + filled, bytes.size() - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return lastFailure(path);
        if (count == 0) break;
        filled += static_cast<std::size_t>(count);
        if (filled > longestRead) return failureAt(path, EFBIG);
        if (filled == bytes.size()) bytes.resize(bytes.size() * 2 + 4096);
    }
    bytes.resize(filled);
    return bytes;
}

Result<> write(const std::string& path, std::string_view bytes, Atomically atomically) {
    if (!usable(path)) return lastFailure(path);
    return atomically == Atomically::yes ? writeAtomically(path, bytes) : writeInPlace(path, bytes);
}

std::optional<std::string> resolved(const std::string& path) {
    if (!usable(path) || !path.starts_with('/')) return std::nullopt;
    std::deque<std::string> left;
    const auto putInFront = [&left](std::string_view text) {
        std::vector<std::string> parts;
        while (!text.empty()) {
            const std::size_t end = std::min(text.find('/'), text.size());
            if (end > 0 && text.substr(0, end) != ".") parts.emplace_back(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        left.insert(left.begin(), parts.begin(), parts.end());
    };
    putInFront(path);
    std::string real;  // without a final "/"; "" is the root
    constexpr int mostLinks = 40;
    for (int links = 0; !left.empty();) {
        const std::string part = std::move(left.front());
        left.pop_front();
        if (part == "..") {
            real.resize(real.empty() ? 0 : real.rfind('/'));
            continue;
        }
        const std::string next = real + "/" + part;
        struct stat status {};
        if (::lstat(next.c_str(), &status) != 0 && errno != ENOENT && errno != ENOTDIR) return std::nullopt;
        if (!S_ISLNK(status.st_mode)) {
            real = next;
            continue;
        }
        const auto destination = destinationOfLink(next);
        if (!destination || ++links > mostLinks) return std::nullopt;
        const auto& text = *destination;
        if (text.starts_with('/')) real.clear();
        putInFront(text);
    }
    return real.empty() ? "/" : real;
}

Result<std::string> createTemporaryFolder(const std::string& parentFolder, const std::string& prefix) {
    std::string path = join(parentFolder, prefix + "XXXXXX");
    if (!usable(path) || ::mkdtemp(path.data()) == nullptr) return lastFailure(parentFolder);
    return path;
}

std::optional<Lock> Lock::tryLock(const std::string& path) {
    if (!usable(path)) return std::nullopt;
    Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.valid() || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return std::nullopt;
    return Lock(file.release());
}

Lock::Lock(Lock&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

Lock& Lock::operator=(Lock&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

Lock::~Lock() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

std::string lastComponent(std::string_view path) {
    path = withoutFinalSlashes(path);
    if (path == "/") return {};
    return std::string(path.substr(path.rfind('/') + 1));
}

std::string parent(std::string_view path) {
    path = withoutFinalSlashes(path);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return {};
    return std::string(slash == 0 ? path.substr(0, 1) : withoutFinalSlashes(path.substr(0, slash)));
}

std::string extension(std::string_view path) {
    const std::string name = lastComponent(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return {};
    return name.substr(dot + 1);
}

std::string withoutExtension(std::string_view path) {
    path = withoutFinalSlashes(path);
    const std::string suffix = extension(path);
    if (suffix.empty()) return std::string(path);
    return std::string(path.substr(0, path.size() - suffix.size() - 1));
}

std::string join(std::string_view folder, std::string_view name) {
    while (name.starts_with('/')) name.remove_prefix(1);
    if (folder.empty()) return std::string(name);
    std::string path(withoutFinalSlashes(folder));
    if (name.empty()) return path;
    if (path.back() != '/') path += '/';
    path += name;
    return path;
}

}  // namespace morvane::files
