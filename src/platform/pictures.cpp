#include "platform/pictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>

#include "platform/picture_formats.h"

namespace morvane::pictures {

namespace {

bool isWhole(const Picture& picture) {
    return picture.width > 0 && picture.height > 0 &&
           picture.rgba.size() ==
               static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) * 4;
}

// --- Scaling

constexpr double lobes = 3;

double lanczos(double x) {
    x = std::abs(x);
    if (x < 1e-9) return 1;
    if (x >= lobes) return 0;
    const double angle = std::numbers::pi * x;
    return lobes * std::sin(angle) * std::sin(angle / lobes) / (angle * angle);
}

/// The pixels of a source line that make up each pixel of the result, with their weights, which sum to one.
struct Taps {
    struct Window {
        int first = 0;
        std::vector<float> weights;
    };
    std::vector<Window> windows;
    int longest = 0;

    Taps(int source, int target) {
        const double ratio = static_cast<double>(source) / target;
        const double widening = std::max(1.0, ratio);  // shrinking: the filter covers all that falls together
        const double reach = lobes * widening;
        windows.reserve(static_cast<std::size_t>(target));
        for (int i = 0; i < target; ++i) {
            const double centre = (i + 0.5) * ratio;
            const int first = std::max(0, static_cast<int>(std::floor(centre - reach)));
            const int last = std::min(source - 1, static_cast<int>(std::ceil(centre + reach)));
            Window window{first, {}};
            double sum = 0;
            for (int j = first; j <= last; ++j) {
                const double weight = lanczos((j + 0.5 - centre) / widening);
                window.weights.push_back(static_cast<float>(weight));
                sum += weight;
            }
            for (float& weight : window.weights) weight = static_cast<float>(weight / sum);
            longest = std::max(longest, static_cast<int>(window.weights.size()));
            windows.push_back(std::move(window));
        }
    }
};

using Line = std::vector<std::array<float, 4>>;  // premultiplied; alpha and colours from 0 to 255

Line premultipliedLine(const Picture& picture, int y) {
    const auto width = static_cast<std::size_t>(picture.width);
    const std::uint8_t* pixel = picture.rgba.data() + static_cast<std::size_t>(y) * width * 4;
    Line line(width);
    for (auto& target : line) {
        const float alpha = pixel[3];
        for (std::size_t c = 0; c < 3; ++c) target[c] = static_cast<float>(pixel[c]) * (alpha / 255.0F);
        target[3] = alpha;
        pixel += 4;
    }
    return line;
}

Line narrowed(const Line& source, const Taps& taps) {
    Line result;
    result.reserve(taps.windows.size());
    for (const Taps::Window& window : taps.windows) {
        std::array<float, 4> sum{};
        const auto* pixel = source.data() + window.first;
        for (const float weight : window.weights) {
            for (std::size_t c = 0; c < 4; ++c) sum[c] += weight * (*pixel)[c];
            ++pixel;
        }
        result.push_back(sum);
    }
    return result;
}

/// The filter overshoots beside edges: alpha stays a byte, and no colour rises above its alpha.
void storeLine(const Line& line, std::uint8_t* target) {
    for (const auto& pixel : line) {
        const float alpha = std::round(std::clamp(pixel[3], 0.0F, 255.0F));
        for (std::size_t c = 0; c < 3; ++c) {
            const float colour = alpha > 0 ? pixel[c] * 255.0F / pixel[3] : 0.0F;
            target[c] = static_cast<std::uint8_t>(std::lround(std::clamp(colour, 0.0F, 255.0F)));
        }
        target[3] = static_cast<std::uint8_t>(alpha);
        target += 4;
    }
}

}  // namespace

std::string_view kindOf(std::string_view bytes) {
    using namespace std::string_view_literals;
    struct Signature {
        std::string_view start, kind;
    };
    static constexpr std::array signatures = {
        Signature{"\x89PNG\r\n\x1A\n"sv, "PNG"},
        Signature{"\xFF\xD8\xFF"sv, "JPEG"},
        Signature{"II*\0"sv, "TIFF"},
        Signature{"MM\0*"sv, "TIFF"},
        Signature{"GIF87a"sv, "GIF"},
        Signature{"GIF89a"sv, "GIF"},
        Signature{"icns"sv, "ICNS"},
        Signature{"\0\0\1\0"sv, "ICO"},
    };
    for (const auto& [start, kind] : signatures) {
        if (bytes.starts_with(start)) return kind;
    }
    if (bytes.starts_with("RIFF") && bytes.size() >= 12 && bytes.substr(8, 4) == "WEBP") return "WebP";
    // Two letters alone would take in texts: the size of the second header is one of a few small numbers.
    if (bytes.starts_with("BM") && bytes.size() >= 18 && static_cast<unsigned char>(bytes[14]) <= 124 &&
        bytes.substr(15, 3) == "\0\0\0"sv)
        return "BMP";
    return {};
}

std::optional<Size> sizeOf(std::string_view bytes) {
    const std::string_view kind = kindOf(bytes);
    const PictureFormats* formats = kind.empty() ? nullptr : pictureFormats();
    return formats != nullptr ? formats->sizeOf(kind, bytes) : std::nullopt;
}

std::optional<Picture> decode(std::string_view bytes) {
    const std::string_view kind = kindOf(bytes);
    const PictureFormats* formats = kind.empty() ? nullptr : pictureFormats();
    return formats != nullptr ? formats->decode(kind, bytes) : std::nullopt;
}

std::string encodePng(const Picture& picture) {
    const PictureFormats* formats = isWhole(picture) ? pictureFormats() : nullptr;
    return formats != nullptr ? formats->encodePng(picture) : "";
}

std::string encodeJpeg(const Picture& picture, int quality) {
    const PictureFormats* formats = isWhole(picture) ? pictureFormats() : nullptr;
    return formats != nullptr ? formats->encodeJpeg(picture, quality) : "";
}

std::string encodeTiff(const Picture& picture) {
    const PictureFormats* formats = isWhole(picture) ? pictureFormats() : nullptr;
    return formats != nullptr ? formats->encodeTiff(picture) : "";
}

Picture scaledToWidth(const Picture& picture, int width) {
    if (!isWhole(picture)) return {};
    if (picture.width == width && width <= longestEdge && picture.height <= longestEdge) return picture;
    Picture result;
    result.width = std::clamp(width, 1, longestEdge);
    const double height = std::round(static_cast<double>(picture.height) * result.width / picture.width);
    result.height = static_cast<int>(std::clamp(height, 1.0, static_cast<double>(longestEdge)));
    const std::size_t lineSize = static_cast<std::size_t>(result.width) * 4;
    result.rgba.resize(lineSize * static_cast<std::size_t>(result.height));

    const Taps across(picture.width, result.width);
    const Taps down(picture.height, result.height);
    // The windows only move down: each source line is narrowed once, and kept while a window still needs it.
    std::vector<Line> kept(static_cast<std::size_t>(down.longest));
    const auto place = [&](int y) -> Line& { return kept[static_cast<std::size_t>(y % down.longest)]; };
    int ready = 0;
    Line sum(static_cast<std::size_t>(result.width));
    for (int y = 0; y < result.height; ++y) {
        const Taps::Window& window = down.windows[static_cast<std::size_t>(y)];
        const int end = window.first + static_cast<int>(window.weights.size());
        for (ready = std::max(ready, window.first); ready < end; ++ready) {
            place(ready) = narrowed(premultipliedLine(picture, ready), across);
        }
        std::fill(sum.begin(), sum.end(), std::array<float, 4>{});
        for (int i = window.first; i < end; ++i) {
            const float weight = window.weights[static_cast<std::size_t>(i - window.first)];
            const Line& line = place(i);
            for (std::size_t x = 0; x < sum.size(); ++x) {
                for (std::size_t c = 0; c < 4; ++c) sum[x][c] += weight * line[x][c];
            }
        }
        storeLine(sum, result.rgba.data() + lineSize * static_cast<std::size_t>(y));
    }
    return result;
}

}  // namespace morvane::pictures
