#include "platform/utf8.h"

#include <algorithm>
#include <cstring>

namespace morvane::utf8 {

namespace {

bool isCharacter(char32_t character) {
    return character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
}

}  // namespace

char32_t next(std::string_view text, std::size_t& position) {
    const auto first = static_cast<unsigned char>(text[position++]);
    if (first < 0x80) return first;
    const std::size_t following = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC2 || first > 0xF4 || text.size() - position < following) return replacement;
    char32_t character = first & (0x3FU >> following);
    for (std::size_t i = 0; i < following; ++i) {
        const auto byte = static_cast<unsigned char>(text[position + i]);
        if ((byte & 0xC0U) != 0x80) return replacement;
        character = (character << 6U) | (byte & 0x3FU);
    }
    constexpr char32_t smallest[] = {0, 0x80, 0x800, 0x10000};
    if (character < smallest[following] || !isCharacter(character)) return replacement;
    position += following;
    return character;
}

void append(std::string& text, char32_t character) {
    if (!isCharacter(character)) character = replacement;
    const auto tail = [&](unsigned shift) {
        text += static_cast<char>(0x80U | ((character >> shift) & 0x3FU));
    };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0U | (character >> 6U));
        tail(0);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0U | (character >> 12U));
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0U | (character >> 18U));
        tail(12);
        tail(6);
        tail(0);
    }
}

std::size_t behindAscii(std::string_view text, std::size_t position) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    for (std::uint64_t bytes = 0; text.size() - position >= sizeof bytes; position += sizeof bytes) {
        std::memcpy(&bytes, text.data() + position, sizeof bytes);
        if ((bytes & highBits) != 0) break;
    }
    while (position < text.size() && static_cast<unsigned char>(text[position]) < 0x80) ++position;
    return position;
}

bool isValid(std::string_view text) {
    for (std::size_t at = 0; (at = behindAscii(text, at)) < text.size();) {
        const std::size_t start = at;
        // U+FFFD itself takes three bytes.
        if (next(text, at) == replacement && at - start == 1) return false;
    }
    return true;
}

std::size_t length(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(text, [](char byte) { return !continues(byte); }));
}

std::size_t utf16Length(std::string_view text) {
    std::size_t units = 0;
    for (const char byte : text) {
        if (!continues(byte)) units += static_cast<unsigned char>(byte) >= 0xF0 ? 2 : 1;
    }
    return units;
}

std::string_view trimmed(std::string_view text, std::string_view blanks) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace morvane::utf8
namespace morvane {

namespace {

bool isHarmful(char32_t character) {
    if (character == '\t' || character == '\n') return false;
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    const bool isLineBreak = character == 0x2028 || character == 0x2029;
    const bool turnsText = (character >= 0x202A && character <= 0x202E) ||
                           (character >= 0x2066 && character <= 0x2069) || character == 0x200E ||
                           character == 0x200F || character == 0x061C;
    return isControl || isLineBreak || turnsText;
}

}  // namespace

std::string harmless(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const char32_t character = utf8::next(text, position);
        utf8::append(result, isHarmful(character) ? utf8::replacement : character);
    }
    return result;
}

}  // namespace morvane
