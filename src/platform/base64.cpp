#include "platform/base64.h"

#include <openssl/evp.h>

#include <limits>

namespace morvane::base64 {

namespace {

/// The library counts in `int`, also the result.
constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t longest = std::numeric_limits<int>::max() / 2;

}  // namespace

std::string encode(std::string_view bytes) {
    constexpr std::size_t group = std::size_t{3} * 4096;
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    unsigned char digits[group / 3 * 4 + 1];
    for (std::size_t at = 0; at < bytes.size(); at += group) {
        const std::string_view piece = bytes.substr(at, group);
        const int count = EVP_EncodeBlock(digits, reinterpret_cast<const unsigned char*>(piece.data()),
                                          static_cast<int>(piece.size()));
        text.append(reinterpret_cast<const char*>(digits), static_cast<std::size_t>(count));
    }
    return text;
}

std::optional<std::string> decode(std::string_view text) {
    std::string digits;
    digits.reserve(text.size() + 3);
    for (const char character : text) {
        const bool isBlank = character == ' ' || (character >= '\t' && character <= '\r');
        if (!isBlank) digits += character;
    }
    // Others leave the padding out, or have too much of it.
    while (digits.ends_with('=')) digits.pop_back();
    const std::size_t missing = (4 - digits.size() % 4) % 4;
    if (missing == 3 || digits.size() > longest || digits.find_first_not_of(alphabet) != std::string::npos)
        return std::nullopt;
    digits.append(missing, '=');
    std::string bytes(digits.size() / 4 * 3, '\0');
    const int count = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                      reinterpret_cast<const unsigned char*>(digits.data()),
                                      static_cast<int>(digits.size()));
    if (count < 0) return std::nullopt;
    bytes.resize(bytes.size() - missing);
    return bytes;
}

}  // namespace morvane::base64
