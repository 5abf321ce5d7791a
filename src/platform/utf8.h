// platform/utf8.h: UTF-8 text as characters, for the readers and writers of this folder. Any thread.
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

}  // namespace morvane::utf8
