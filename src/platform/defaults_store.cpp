#include "platform/defaults_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/files.h"
#include "platform/property_list.h"

namespace morvane {

namespace {

/// The lock that orders the changes of all processes: a file beside the store, which itself is replaced at
/// each change and so can't carry a lock. Waits; ends with the object or its process.
class StoreLock {
  public:
    explicit StoreLock(const std::string& path)
        : descriptor_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        while (descriptor_ >= 0 && ::flock(descriptor_, LOCK_EX) != 0) {
            if (errno == EINTR) continue;
            ::close(std::exchange(descriptor_, -1));
        }
    }
    ~StoreLock() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    StoreLock(const StoreLock&) = delete;
    StoreLock& operator=(const StoreLock&) = delete;

    [[nodiscard]] bool isHeld() const { return descriptor_ >= 0; }

  private:
    int descriptor_;
};

/// Moves a file that can't be read as settings out of the way, never over an earlier one. Where to, or
/// nothing.
std::optional<std::string> keepAside(const std::string& path) {
    std::string aside = path + ".damaged";
    for (int number = 2; files::kindOf(aside) != files::Kind::none; ++number) {
        aside = path + ".damaged" + std::to_string(number);
    }
    if (!files::move(path, aside)) return std::nullopt;
    return aside;
}

bool isTrue(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos) return false;
    text.remove_prefix(start);
    if (std::string_view("YyTt").find(text.front()) != std::string_view::npos) return true;
    if (text.front() == '+' || text.front() == '-') text.remove_prefix(1);
    const std::size_t digit = text.find_first_not_of('0');
    return digit != std::string_view::npos && text[digit] >= '1' && text[digit] <= '9';
}

}  // namespace

std::string defaultsFile(const std::string& library) {
    return library + "/Library/Preferences/app.morvane.plist";
}

DefaultsStore::DefaultsStore(std::string path) : path_(std::move(path)) {
    const MutexLock guard(mutex_);
    reload();
    if (state_ != State::damaged) return;
    const StoreLock lock(path_ + ".lock");
    // Where that fails the state remains, and the first change meets it again.
    if (lock.isHeld()) static_cast<void>(makeReadable());
}

DefaultsStore::Stamp DefaultsStore::stampOfFile() const {
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0) return {};
    return {status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

void DefaultsStore::reload() const {
    // The stamp is taken first: a change between the two is then read once more, not missed.
    const Stamp stamp = stampOfFile();
    if (state_ == State::readable && stamp == stamp_) return;
    stamp_ = stamp;
    if (files::kindBehind(path_) == files::Kind::none) {
        values_ = {};
        state_ = State::readable;
        return;
    }
    const Result<std::string> bytes = files::read(path_);
    if (!bytes) {
        state_ = State::unreadable;
        return;
    }
    std::optional<Value> value = property_lists::parse(*bytes);
    Dictionary* const values = value ? value->as<Dictionary>() : nullptr;
    state_ = values != nullptr ? State::readable : State::damaged;
    if (values != nullptr) values_ = std::move(*values);
}

bool DefaultsStore::makeReadable() const {
    state_ = State::unknown;  // a stamp is good enough for showing a value, not for replacing the file
    reload();
    if (state_ == State::damaged) {
        if (auto aside = keepAside(path_)) {
            keptAside_ = std::move(aside);
            state_ = State::readable;
            stamp_ = stampOfFile();
        }
    }
    return state_ == State::readable;
}

std::optional<Value> DefaultsStore::get(std::string_view key) const {
    const MutexLock guard(mutex_);
    reload();
    const Value* const value = values_.find(key);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

bool DefaultsStore::set(const std::string& key, const std::optional<Value>& value) {
    return update(key, [&](const std::optional<Value>&) { return value; });
}

bool DefaultsStore::update(const std::string& key,
                           const std::function<std::optional<Value>(const std::optional<Value>&)>& change) {
    const MutexLock guard(mutex_);
    if (!files::createFolder(files::parent(path_), true)) return false;
    const StoreLock lock(path_ + ".lock");
    if (!lock.isHeld() || !makeReadable()) return false;

    const Value* const found = values_.find(key);
    const std::optional<Value> old = found != nullptr ? std::optional(*found) : std::nullopt;
    const std::optional<Value> value = change(old);
    if (value == old) return true;
    Dictionary changed = values_;
    if (value) {
        changed.set(key, *value);
    } else {
        changed.erase(key);
    }
    if (!property_lists::write(path_, changed)) return false;
    values_ = std::move(changed);
    stamp_ = stampOfFile();
    return true;
}

std::optional<std::string> DefaultsStore::takeKeptAside() {
    const MutexLock guard(mutex_);
    return std::exchange(keptAside_, std::nullopt);
}

bool DefaultsStore::getBool(std::string_view key, bool whenAbsent) const {
    const std::optional<Value> value = get(key);
    if (!value) return whenAbsent;
    if (const auto* flag = value->as<bool>()) return *flag;
    if (const auto* number = value->as<std::int64_t>()) return *number != 0;
    if (const auto* number = value->as<double>()) return *number != 0;
    if (const auto* text = value->as<std::string>()) return isTrue(*text);
    return false;
}

}  // namespace morvane
