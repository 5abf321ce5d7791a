// platform/utf8.h: UTF-8 text as characters. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace morvane::utf8 {

inline constexpr char32_t replacement = 0xFFFD;

/// The character at the position, which is moved behind it. A byte that begins no valid sequence (overlong
/// forms, surrogates and what lies beyond U+10FFFF included) reads as U+FFFD and is skipped alone.
[[nodiscard]] char32_t next(std::string_view text, std::size_t& position);
/// Appends the character; a surrogate, or a number beyond U+10FFFF, appends U+FFFD.
void append(std::string& text, char32_t character);

[[nodiscard]] bool isValid(std::string_view text);
/// Where the first character at or behind the position stands that is not ASCII; the text's length for none.
[[nodiscard]] std::size_t behindAscii(std::string_view text, std::size_t position);

/// Whether the byte is one behind a character's first.
[[nodiscard]] constexpr bool continues(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}
/// How many characters a valid text has.
[[nodiscard]] std::size_t length(std::string_view text);
/// How many 16-bit units it has in UTF-16.
[[nodiscard]] std::size_t utf16Length(std::string_view text);
/// The text without the given characters at its ends.
[[nodiscard]] std::string_view trimmed(std::string_view text, std::string_view blanks = " \t\r\n");

}  // namespace morvane::utf8
namespace morvane {

/// What a front end may show of a text that came from outside: U+FFFD stands for each character that could
/// command a terminal or show the text as another one (control characters but tab and line feed, directional
/// overrides and isolates, the line separators of Unicode) and for each byte that is no UTF-8.
[[nodiscard]] std::string harmless(std::string_view text);

}  // namespace morvane
