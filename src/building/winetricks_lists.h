// building/winetricks_lists.h: the parts of a port's winetricks list around the game's own installation. Any
// thread.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace morvane {

/// The pseudo-verb that stands for the game's installation.
inline constexpr const char* installAppMarker = "Install App";

/// The whole list when it does not hold the marker.
[[nodiscard]] inline std::vector<std::string> winetricksBeforeAppFromList(
    const std::vector<std::string>& list) {
    return {list.begin(), std::find(list.begin(), list.end(), installAppMarker)};
}

/// Empty when the list does not hold the marker.
[[nodiscard]] inline std::vector<std::string> winetricksAfterAppFromList(
    const std::vector<std::string>& list) {
    const auto marker = std::find(list.begin(), list.end(), installAppMarker);
    if (marker == list.end()) return {};
    return {std::next(marker), list.end()};
}

}  // namespace morvane
