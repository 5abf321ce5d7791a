// library/source_icons.h: how the sources of a game are drawn. Any thread; reads the disk.
#pragma once

#include <string>
#include <vector>

namespace morvane {

/// A button for one source of the game.
struct SourceIcon {
    std::string source;  ///< its tooltip
    std::string image;   ///< a resource's path; "/" for the icon of the start-up disk
    bool operator==(const SourceIcon&) const = default;
};

[[nodiscard]] std::vector<SourceIcon> setSourceIcons(const std::vector<std::string>& sources);

}  // namespace morvane
