// library/apps_array.h: the local library, and what is done to all of its wrappers at once.
#pragma once

#include "platform/value.h"

namespace morvane {

/// The library's entries are dictionaries with the texts "Name" and "Path", kept in the setting "App List".
class NSAppsArray {
  public:
    /// `askToKillAllCaskeryProcessesFromLocalApps`. Asks first; any thread.
    void askToKillAllCaskeryProcessesFromLocalApps() const;
    /// `killAllCaskeryProcessesFromLocalAppsAfterLoading`. Returns at once; the wrappers are stopped side by
    /// side, then whatever else says "wine".
    void killAllCaskeryProcessesFromLocalAppsAfterLoading() const;

  private:
    /// The stored list; empty before the library was ever made.
    [[nodiscard]] static Array storedApps();
};

}  // namespace morvane
