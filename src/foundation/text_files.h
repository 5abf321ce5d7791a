// foundation/text_files.h: whole text files. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace morvane {

/// How a file's bytes are text. Texts are UTF-8, but for `eightBit`, where each byte is a character.
enum class Encoding { ascii, utf8, eightBit };

namespace MVString {

using files::Atomically;

/// Nothing when there is no file, and after a reported error.
[[nodiscard]] std::optional<std::string> stringWithContentsOfFile(const std::string& path, Encoding encoding);
/// False after a reported error, also for a character outside the encoding.
bool writeToFile(std::string_view text, const std::string& path, Atomically atomically, Encoding encoding);

}  // namespace MVString
}  // namespace morvane
