#include "platform/pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <thread>

#include "platform/base64.h"

namespace morvane {
namespace {

using namespace std::string_literals;
using namespace pictures;
using Pixel = std::array<int, 4>;

Picture painted(int width, int height, auto colourAt) {
    Picture picture{width, height, {}};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (const int channel : Pixel(colourAt(x, y))) {
                picture.rgba.push_back(static_cast<std::uint8_t>(channel));
            }
        }
    }
    return picture;
}

Picture plain(int width, int height, Pixel colour) {
    return painted(width, height, [&](int, int) { return colour; });
}

Pixel at(const Picture& picture, int x, int y) {
    const std::size_t first = static_cast<std::size_t>(y * picture.width + x) * 4;
    Pixel pixel{};
    for (std::size_t c = 0; c < 4; ++c) pixel[c] = picture.rgba.at(first + c);
    return pixel;
}

std::string bigEndian(std::size_t number) {
    std::string bytes;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) bytes += static_cast<char>((number >> shift) & 0xFFU);
    return bytes;
}

std::string icns(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::string body;
    for (const auto& [type, data] : entries) body += type + bigEndian(data.size() + 8) + data;
    return "icns" + bigEndian(body.size() + 8) + body;
}

std::string ico(const std::vector<std::pair<int, std::string>>& members) {
    const auto little = [](std::size_t number, int count) {
        std::string bytes;
        for (int i = 0; i < count; ++i, number >>= 8U) bytes += static_cast<char>(number & 0xFFU);
        return bytes;
    };
    std::string header = "\0\0\1\0"s + little(members.size(), 2);
    std::string body;
    for (const auto& [edge, png] : members) {
        const auto size = static_cast<std::size_t>(edge);
        header += little(size, 1) + little(size, 1) + "\0\0\1\0\x20\0"s + little(png.size(), 4) +
                  little(6 + 16 * members.size() + body.size(), 4);
        body += png;
    }
    return header + body;
}

const Pixel brown = {200, 100, 50, 255};

/// Two pixels by one, in brown.
std::vector<std::pair<std::string_view, std::string>> samples() {
    const Picture picture = plain(2, 1, brown);
    return {
        {"PNG", encodePng(picture)},
        {"JPEG", encodeJpeg(picture, 100)},
        {"TIFF", encodeTiff(picture)},
        {"GIF", *base64::decode("R0lGODlhAgABAPAAAMhkMgAAACH5BAAAAAAALAAAAAACAAEAAAICBAoAOw==")},
        {"BMP", *base64::decode(
                    "Qk0+AAAAAAAAADYAAAAoAAAAAgAAAAEAAAABABgAAAAAAAgAAAAAAAAAAAAAAAAAAAAAAAAAMmTIMmTIAAA=")},
        {"WebP", *base64::decode("UklGRh4AAABXRUJQVlA4TBEAAAAvAQAAAAdQsiJXpv+BiOh/AAA=")},
    };
}

TEST(Pictures, OfAContainerTheLargestReadableCounts) {
    const auto png = [](int edge) { return encodePng(plain(edge, edge, {edge, 0, 0, 255})); };
    const std::string jpeg2000 = "\0\0\0\x0CjP  \r\n\x87\n"s;
    const struct {
        const char* name;
        std::string bytes;
        int declared, decoded;
    } rows[] = {
        {"ico", ico({{16, png(16)}, {48, png(48)}, {32, png(32)}}), 48, 48},
        {"ico whose largest is damaged", ico({{16, png(16)}, {48, "damaged"}}), 48, 16},
        {"icns", icns({{"TOC ", "12345678"}, {"icp6", png(64)}, {"ic07", png(128)}, {"ic12", png(64)}}), 128,
         128},
        {"icns with a format that we lack", icns({{"icp6", png(64)}, {"ic08", jpeg2000}}), 64, 64},
        {"icns cut off", icns({{"icp6", png(64)}, {"ic07", png(128)}}).substr(0, png(64).size() + 40), 64,
         64},
    };
    for (const auto& row : rows) {
        const std::optional<Size> size = sizeOf(row.bytes);
        EXPECT_TRUE(size && size->width == row.declared) << row.name;
        const std::optional<Picture> picture = decode(row.bytes);
        ASSERT_TRUE(picture && picture->width == row.decoded) << row.name;
        EXPECT_EQ(at(*picture, 1, 1), (Pixel{row.decoded, 0, 0, 255})) << row.name;
    }
}

TEST(Pictures, OtherBytesAreNone) {
    std::string bomb = samples()[4].second;        // the BMP, whose header nothing guards
    bomb.replace(18, 8, "\0\x40\0\0\0\x40\0\0"s);  // 16384 by 16384
    const std::pair<const char*, std::string> rows[] = {
        {"nothing", ""},
        {"text", "BMW is a maker of cars, and this is long enough"},
        {"vector picture", "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'/>"},
        {"only a signature", "\x89PNG\r\n\x1A\n"},
        {"cut header", encodePng(plain(9, 9, brown)).substr(0, 20)},
        {"empty icns", icns({})},
        {"empty ico", ico({})},
        {"an edge beyond the bound", encodePng(plain(longestEdge + 1, 1, brown))},
        {"more pixels than the bound", bomb},
    };
    for (const auto& [name, bytes] : rows) {
        EXPECT_FALSE(decode(bytes)) << name;
        EXPECT_FALSE(sizeOf(bytes)) << name;
    }
    for (const auto& [kind, bytes] : samples()) {
        for (std::size_t length = 0; length < bytes.size() - 12; length += 1 + bytes.size() / 50)
            EXPECT_FALSE(decode(std::string(bytes.data(), length))) << kind << " cut after " << length;
        EXPECT_TRUE(decode(bytes + "and more")) << kind;
    }
    const Picture wrong{4, 4, {1, 2, 3, 4}};  // its size and bytes disagree
    EXPECT_EQ(encodePng(wrong) + encodeJpeg(wrong) + encodeTiff(wrong), "");
    EXPECT_EQ(scaledToWidth(wrong, 8).width, 0);
}

TEST(ScaledToWidth, KeepsTheRatioAndAtLeastOnePixel) {
    const struct {
        int width, height, scaledWidth, expectedWidth, expectedHeight;
    } rows[] = {{50, 100, 16, 16, 32},
                {1000, 3, 16, 16, 1},
                {3, 3, 0, 1, 1},
                {3, 3, -5, 1, 1},
                {1, 2000, 20, 20, 16384}};
    for (const auto& row : rows) {
        const Picture scaled = scaledToWidth(plain(row.width, row.height, brown), row.scaledWidth);
        EXPECT_EQ(scaled.width, row.expectedWidth);
        EXPECT_EQ(scaled.height, row.expectedHeight);
    }
}

}  // namespace
}  // namespace morvane
