// library/icon_cache.h: the icons of catalogue entries in the library, kept on disk. Any thread; blocks on
// the network.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/value.h"

namespace morvane::icon_cache {

/// How often an icon is asked for before the entry stays without one, until it is asked for again.
inline constexpr int attempts = 3;

/// Where the icon of a catalogue ID is kept.
[[nodiscard]] std::string pathForID(std::int64_t id);
/// The icon of the port: as kept when it is younger than 30 days, else fetched from its folder on the server
/// and kept. Nothing when no attempt gave a picture.
[[nodiscard]] std::optional<ImageData> icon(std::int64_t id, const std::string& folder);

}  // namespace morvane::icon_cache
