#include "platform/passing_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "platform/descriptor.h"
#include "platform/free_room.h"

namespace morvane::files {

namespace {

constexpr std::size_t digits = 16;

/// What the files on their way to one name have in common. A digest: beside a name of the full length there is
/// no room for the name itself.
std::string prefixFor(std::string_view name) {
    std::uint64_t digest = 0xcbf29ce484222325;
    for (const char character : name) {
        digest ^= static_cast<unsigned char>(character);
        digest *= 0x100000001b3;
    }
    std::string prefix = ".morvane-part-";
    for (int shift = 60; shift >= 0; shift -= 4) prefix += "0123456789abcdef"[digest >> shift & 15];
    return prefix + "-";
}

/// Whoever fills a file holds its lock: one that can be had belongs to a process that is gone.
bool isLeftover(int folder, const std::string& name) {
    const Descriptor file(
        ::openat(folder, name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    return file.valid() && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_uid == ::geteuid() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

}  // namespace

struct PassingFile::State {
    explicit State(std::string path) : place(std::move(path)) {}
    ~State() {
        if (!name.empty()) ::unlinkat(folder.get(), name.c_str(), 0);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    const std::string place;
    Descriptor folder, file;
    std::string name;  ///< beside the place; empty when nothing lies there
    std::uint64_t size = 0;
    std::optional<FreeRoom> room;
    Result<> soFar;

    [[nodiscard]] Failure failure(int number) const {
        return {.what = place, .why = std::generic_category().message(number)};
    }
    /// These give false with `errno` set.
    [[nodiscard]] bool begin(std::optional<std::uint64_t> wholeLength);
    [[nodiscard]] bool create(const std::string& prefix, mode_t mode);
    [[nodiscard]] bool hasRoom();
    [[nodiscard]] bool finish();
};

bool PassingFile::State::begin(std::optional<std::uint64_t> wholeLength) {
    if (place.find('\0') != std::string::npos) {
        errno = EINVAL;
        return false;
    }
    folder = Descriptor(::open(parent(place).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.valid()) return false;
    const std::string prefix = prefixFor(lastComponent(place));
    const auto names = list(parent(place));
    if (names) {
        for (const std::string& entry : *names) {
            const bool isOne = entry.size() == prefix.size() + digits && entry.starts_with(prefix);
            if (isOne && isLeftover(folder.get(), entry)) ::unlinkat(folder.get(), entry.c_str(), 0);
        }
    }
    room.emplace(folder.get(), wholeLength);
    if (!room->fits()) {
        errno = ENOSPC;
        return false;
    }
    struct stat old {};
    const bool replaces =
        ::fstatat(folder.get(), lastComponent(place).c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISREG(old.st_mode);
    if (!create(prefix, replaces ? 0600 : 0666)) return false;
    return !replaces || ::fchmod(file.get(), old.st_mode & 0777u) == 0;
}

bool PassingFile::State::create(const std::string& prefix, mode_t mode) {
    for (;;) {
        const std::string fresh = prefix + randomDigits();
        file =
            Descriptor(::openat(folder.get(), fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        if (!file.valid()) return false;
        // Between the two calls it looked like a leftover, which somebody may have removed.
        struct stat status {};
        const bool locked = ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
        if (!locked && errno != EWOULDBLOCK) {
            // A file system without locks: nobody takes it for a leftover either.
            name = fresh;
            return true;
        }
        if (locked && ::fstat(file.get(), &status) == 0 && status.st_nlink > 0) {
            name = fresh;
            return true;
        }
        ::unlinkat(folder.get(), fresh.c_str(), 0);
    }
}

bool PassingFile::State::hasRoom() {
    if (room->isLeft(folder.get(), size)) return true;
    errno = ENOSPC;
    return false;
}

bool PassingFile::State::finish() {
    return ::fsync(file.get()) == 0 &&
           ::renameat(folder.get(), name.c_str(), folder.get(), lastComponent(place).c_str()) == 0;
}

PassingFile::PassingFile(std::string place) : state_(std::make_unique<State>(std::move(place))) {}
PassingFile::~PassingFile() = default;
PassingFile::PassingFile(PassingFile&&) noexcept = default;
PassingFile& PassingFile::operator=(PassingFile&&) noexcept = default;

Result<> PassingFile::append(std::string_view bytes, std::optional<std::uint64_t> wholeLength) {
    State& state = *state_;
    if (!state.soFar) return state.soFar;
    if ((!state.file.valid() && !state.begin(wholeLength)) || !state.hasRoom() ||
        !writeAll(state.file.get(), bytes)) {
        state.soFar = state.failure(errno);
        return state.soFar;
    }
    state.size += bytes.size();
    return {};
}

const Result<>& PassingFile::soFar() const {
    return state_->soFar;
}

std::uint64_t PassingFile::size() const {
    return state_->size;
}

Result<> PassingFile::putInPlace() {
    State& state = *state_;
    if (!state.soFar) return state.soFar;
    if (!state.file.valid()) return state.failure(ENOENT);
    if (!state.finish()) {
        state.soFar = state.failure(errno);
        return state.soFar;
    }
    state.name.clear();
    ::fsync(state.folder.get());  // in place already; a file system that cannot do this loses nothing
    return {};
}

}  // namespace morvane::files
