#include "platform/base64.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace morvane::base64 {

namespace {
constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::uint8_t noDigit = 0xFF;

constexpr auto values = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(noDigit);
    for (std::size_t i = 0; i < digits.size(); ++i) {
        table[static_cast<unsigned char>(digits[i])] = static_cast<std::uint8_t>(i);
    }
    return table;
}();

}  // namespace

std::string encode(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            group = (group << 8U) | (j < count ? static_cast<unsigned char>(bytes[i + j]) : 0U);
        }
        for (std::size_t j = 0; j < 4; ++j) {
            text += j <= count ? digits[(group >> (18 - 6 * j)) & 0x3FU] : '=';
        }
    }
    return text;
}

std::optional<std::string> decode(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    int bits = 0;
    bool ended = false;
    for (const char character : text) {
        if (character == ' ' || (character >= '\t' && character <= '\r')) continue;
        if (character == '=') {
            ended = true;
            continue;
        }
        const std::uint8_t digit = values[static_cast<unsigned char>(character)];
        if (digit == noDigit || ended) return std::nullopt;
        group = (group << 6U) | digit;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>((group >> static_cast<unsigned>(bits)) & 0xFFU);
        }
    }
    return bytes;
}

}  // namespace morvane::base64
