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

/// The file that holds the icon of an installed item: the one that its settings name, a Custom EXE
/// application's own settings among them; of a Boxer bundle the picture that the user gave it, else the
/// emulator's. Nothing where no such file is named; the file may be missing.
[[nodiscard]] std::optional<std::string> localIconPath(const std::string& item);
/// That file as a picture.
[[nodiscard]] std::optional<ImageData> localIcon(const std::string& item);

}  // namespace morvane::icon_cache
