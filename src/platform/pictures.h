// platform/pictures.h: pictures: decoding what users have, Lanczos scaling, encoding. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace morvane {

/// Unpremultiplied RGBA, 8 bits a channel, rows from the top without padding.
struct Picture {
    int width = 0;   ///< pixels
    int height = 0;  ///< pixels
    std::vector<std::uint8_t> rgba;
};

namespace pictures {

inline constexpr int longestEdge = 16384;  ///< larger pictures are refused, whatever they claim to hold
inline constexpr std::int64_t mostPixels = std::int64_t{1} << 26;  ///< so are pictures of more pixels

/// "PNG", "JPEG", "TIFF", "GIF", "BMP", "ICNS", "ICO" or "WebP" by the first bytes; empty for anything else.
[[nodiscard]] std::string_view kindOf(std::string_view bytes);
struct Size {
    int width = 0, height = 0;
};
/// The size in pixels without decoding the whole; nothing when it is no picture that we read.
[[nodiscard]] std::optional<Size> sizeOf(std::string_view bytes);
/// PNG, JPEG, TIFF, GIF (first frame), BMP, ICNS and ICO (largest), WebP. Nothing for anything else, for
/// truncated pictures, and for pictures with an edge of 0 or beyond the bounds. A picture that was taken with
/// the camera turned comes upright. Members of an ICO or ICNS file that are damaged, or in JPEG 2000, give
/// way to the next largest.
[[nodiscard]] std::optional<Picture> decode(std::string_view bytes);
/// The encoders give an empty text for a picture whose size and bytes do not agree. JPEG has no transparency:
/// the picture is laid on white.
[[nodiscard]] std::string encodePng(const Picture& picture);
[[nodiscard]] std::string encodeJpeg(const Picture& picture, int quality = 90);
/// An uncompressed TIFF file of one image.
[[nodiscard]] std::string encodeTiff(const Picture& picture);

/// Scales both edges by the factor width / picture.width with a Lanczos filter of three lobes, on
/// premultiplied colour; edges are at least one pixel and at most `longestEdge`. The ratio of the edges is
/// kept. An empty picture stays empty.
[[nodiscard]] Picture scaledToWidth(const Picture& picture, int width);

}  // namespace pictures
}  // namespace morvane
