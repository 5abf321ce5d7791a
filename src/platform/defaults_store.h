// platform/defaults_store.h: the user's settings of the application, one property list. Any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/annotations.h"
#include "platform/value.h"

namespace morvane {

/// Where the application's store lies, by `Folders::library`.
[[nodiscard]] std::string defaultsFile(const std::string& library);

/// Every change is on disk when the call returns. Several processes may hold the same store: a change takes
/// the store's lock (`<file>.lock`), reads the file again, changes one key and replaces the file; a reading
/// sees what others have changed.
///
/// A file that is no property list of keys is kept aside as `<file>.damaged` (`.damaged2`, `.damaged3`...: an
/// earlier one is never replaced); found at the start, the store begins empty, found at a change, it goes on
/// with the values that it has. A file that cannot be read at all is left as it is, and no change succeeds.
class DefaultsStore {
  public:
    /// The store in that file, which need not exist; neither need its folder.
    explicit DefaultsStore(std::string path);

    [[nodiscard]] std::optional<Value> get(std::string_view key) const;
    /// Sets the key, or removes it when there is no value. False when the file could not be written.
    bool set(const std::string& key, const std::optional<Value>& value);

    /// Gives the key the value that `change` makes of its present one: nothing else, in no process, comes
    /// between the two. `change` must not use the store. False when the file could not be written; `change`
    /// may not have been called then.
    bool update(const std::string& key,
                const std::function<std::optional<Value>(const std::optional<Value>&)>& change);
    /// Where a damaged file was put since the last question, for telling the user once.
    [[nodiscard]] std::optional<std::string> takeKeptAside();

    /// The reading of the platform: a number other than 0, true, or a text that begins like one or with Y or
    /// T.
    [[nodiscard]] bool getBool(std::string_view key, bool whenAbsent) const;

    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    /// Tells one state of the file from another.
    struct Stamp {
        std::uint64_t file = 0;
        std::int64_t size = -1;
        std::int64_t seconds = 0;
        std::int64_t nanoseconds = 0;
        bool operator==(const Stamp&) const = default;
    };
    enum class State { unknown, readable, unreadable, damaged };

    [[nodiscard]] Stamp stampOfFile() const;
    /// Takes in what the file holds when it has changed; keeps the values when it cannot be read.
    void reload() const MV_REQUIRES(mutex_);
    /// Reloads and puts a damaged file aside, under the store's lock. False when the file must not be
    /// replaced.
    [[nodiscard]] bool makeReadable() const MV_REQUIRES(mutex_);

    std::string path_;
    mutable Mutex mutex_;
    mutable Dictionary values_ MV_GUARDED_BY(mutex_);
    mutable Stamp stamp_ MV_GUARDED_BY(mutex_);
    mutable std::optional<std::string> keptAside_ MV_GUARDED_BY(mutex_);
    mutable State state_ MV_GUARDED_BY(mutex_) = State::unknown;
};

}  // namespace morvane
