// platform/defaults_store.h: the user's settings of the application, one property list. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/annotations.h"
#include "platform/value.h"

namespace morvane {

/// Every change is on disk when the call returns. Several processes may hold the same store: a change takes
/// the store's lock, reads the file again, changes one key and replaces the file.
class DefaultsStore {
  public:
    /// The store in that file, which need not exist. A file that is no property list is kept aside as
    /// `<file>.damaged` and the store starts empty.
    explicit DefaultsStore(std::string path);

    [[nodiscard]] std::optional<Value> get(std::string_view key) const;
    /// Sets the key, or removes it when there is no value. False when the file could not be written.
    bool set(const std::string& key, const std::optional<Value>& value);

    /// The reading of the platform: a number other than 0, true, or a text that begins like one or with Y or
    /// T.
    [[nodiscard]] bool getBool(std::string_view key, bool whenAbsent) const;

    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    void reload() const MV_REQUIRES(mutex_);

    std::string path_;
    mutable Mutex mutex_;
    mutable Dictionary values_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane
