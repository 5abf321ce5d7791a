// building/tools.h: what the stages share: the download site, and one change of the support folder at a time.
// Any thread.
#pragma once

#include <optional>
#include <string>

#include "platform/files.h"

namespace morvane::building {

/// Keeps other processes of this user from changing the support folder at the same time. Nothing when one of
/// them does it now.
[[nodiscard]] std::optional<files::Lock> lockSupportFolder();

/// Tells the user why there is no lock: another creation runs, or the folder can't be written to.
void tellOfNoLock();

/// The support folder and the token of the running creation for one piece of work on this thread. Where
/// another creation has one of them, the user is told.
class SoleChange {
  public:
    SoleChange();
    ~SoleChange();
    SoleChange(const SoleChange&) = delete;
    SoleChange& operator=(const SoleChange&) = delete;
    [[nodiscard]] bool granted() const { return lock_.has_value(); }

  private:
    std::optional<files::Lock> lock_;
};

/// "?" and a random number: no cache on the way answers an address that ends in it.
[[nodiscard]] std::string cacheBuster();

/// Whether the wrapper technology's download site can be reached.
[[nodiscard]] bool siteIsReachable();

}  // namespace morvane::building
