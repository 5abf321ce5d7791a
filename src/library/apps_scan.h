// library/apps_scan.h: finding what is installed below the apps folders. Any thread; reads the disk only.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "library/apps_array.h"

namespace morvane {

/// The wrappers with their Custom EXE launchers, and the Boxer bundles, below the folders (each ending in
/// "/"), each path once, in no useful order. A folder that cannot be read adds nothing. `goOn` is asked
/// before each entry; false ends the scan with what was found so far.
[[nodiscard]] std::vector<LocalItem> scanAppsFolders(const std::vector<std::string>& folders,
                                                     const std::function<bool()>& goOn);

/// Whether the settings can hold the path and give it back as it is: names on disk are any bytes.
[[nodiscard]] bool isStorablePath(std::string_view path);

}  // namespace morvane
