#include "platform/private_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "platform/descriptor.h"

namespace morvane::files {

namespace {

constexpr std::string_view passing = "morvane-passing-", hidden = ".morvane-passing-", kept = "morvane-kept-";

Failure lastFailure(const std::string& path) {
    return {.what = path, .why = std::generic_category().message(errno)};
}

/// Opens the folder itself, never through a link, when it is this user's own.
Descriptor openOwn(const std::string& path) {
    Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder.valid() || ::fstat(folder.get(), &status) != 0) return {};
    if (status.st_uid == ::geteuid()) return folder;
    errno = EPERM;
    return {};
}

}  // namespace

Result<> makePrivate(const std::string& path) {
    if (const auto made = createFolder(parent(path), true); !made) return Failure{path, made.error().why};
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return lastFailure(path);
    const Descriptor folder = openOwn(path);
    if (!folder.valid() || ::fchmod(folder.get(), 0700) != 0) return lastFailure(path);
    return {};
}

struct PrivateFolder::State {
    State(std::string place, Descriptor held) : path(std::move(place)), lock(std::move(held)) {}
    ~State() {
        if (!path.empty()) static_cast<void>(remove(path));
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    std::string path;
    Descriptor lock;
};

PrivateFolder::PrivateFolder(std::unique_ptr<State> state) : state_(std::move(state)) {}
PrivateFolder::PrivateFolder(PrivateFolder&&) noexcept = default;
PrivateFolder& PrivateFolder::operator=(PrivateFolder&&) noexcept = default;
PrivateFolder::~PrivateFolder() = default;

Result<PrivateFolder> PrivateFolder::make(const std::string& folder) {
    if (const auto made = makePrivate(folder); !made) return made.error();
    return makeInShared(folder);
}

Result<PrivateFolder> PrivateFolder::makeFor(const std::string& destination, const std::string& own) {
    struct stat there {
    }, here{};
    auto folder = make(own);
    const bool isElsewhere = ::stat(destination.c_str(), &there) == 0 && ::stat(own.c_str(), &here) == 0 &&
                             there.st_dev != here.st_dev;
    if (!folder || !isElsewhere) return folder;
    removeLeftovers(destination);
    auto beside = makeIn(destination, hidden);
    return beside ? std::move(beside) : std::move(folder);
}

Result<PrivateFolder> PrivateFolder::makeInShared(const std::string& folder) {
    return makeIn(folder, passing);
}

Result<PrivateFolder> PrivateFolder::makeIn(const std::string& folder, std::string_view beginning) {
    for (;;) {
        auto made = createTemporaryFolder(folder, std::string(beginning));
        if (!made) return Failure{folder, made.error().why};
        auto path = *std::move(made);
        Descriptor lock = openOwn(path);
        struct stat status {};
        // Without the lock it looked like a leftover, which somebody may have removed. On a file system without
        // locks nobody takes it for one.
        const bool locked = lock.valid() && ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0;
        if (locked ? ::fstat(lock.get(), &status) == 0 && status.st_nlink > 0
                   : errno != EWOULDBLOCK && errno != ENOENT)
            return PrivateFolder(std::make_unique<State>(std::move(path), std::move(lock)));
    }
}

const std::string& PrivateFolder::path() const {
    return state_->path;
}

Result<std::string> PrivateFolder::keep() {
    const std::string name = lastComponent(state_->path);
    const std::string place =
        join(parent(state_->path), std::string(kept) + name.substr(name.rfind('-') + 1));
    if (const auto moved = move(state_->path, place); !moved) return Failure{place, moved.error().why};
    state_->path.clear();
    return place;
}

bool PrivateFolder::isOne(std::string_view name) {
    return name.starts_with(passing) || name.starts_with(hidden);
}

void PrivateFolder::removeLeftovers(const std::string& folder) {
    const auto names = list(folder);
    if (!names) return;
    for (const std::string& name : *names) {
        if (!isOne(name)) continue;
        const std::string path = join(folder, name);
        const Descriptor lock = openOwn(path);
        if (lock.valid() && ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0) static_cast<void>(remove(path));
    }
}

}  // namespace morvane::files
