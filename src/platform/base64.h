// platform/base64.h: bytes as base64 text, for the readers and writers of this folder. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace morvane::base64 {

/// One line, padded.
[[nodiscard]] std::string encode(std::string_view bytes);
/// White space is skipped and the padding may be missing; nothing for any other text.
[[nodiscard]] std::optional<std::string> decode(std::string_view text);

}  // namespace morvane::base64
