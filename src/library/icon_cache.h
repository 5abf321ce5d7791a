// library/icon_cache.h: pictures of entries: what counts as one, and the icons of catalogue entries that are
// kept on disk. Any thread; fetching blocks on the network.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/value.h"

namespace morvane::icon_cache {

/// How often an icon is asked for before the entry stays without one, until it is asked for again.
inline constexpr int attempts = 3;

/// The bytes as a picture with its size in pixels; nothing when they cannot be decoded.
[[nodiscard]] std::optional<ImageData> imageFromBytes(std::string bytes);
/// The same of a file, links followed; nothing also for what is no regular file.
[[nodiscard]] std::optional<ImageData> imageFromFile(const std::string& path);

/// Where the icon of a catalogue ID is kept.
[[nodiscard]] std::string pathForID(std::int64_t id);
/// The icon of the port: as kept when it is younger than 30 days, else fetched from its folder on the server
/// and kept. Nothing when no attempt gave a picture.
[[nodiscard]] std::optional<ImageData> icon(std::int64_t id, const std::string& folder);

}  // namespace morvane::icon_cache
