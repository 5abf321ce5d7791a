// platform/json.h: values as JSON text. Any thread.
#pragma once

#include <string>

#include "platform/value.h"

namespace morvane {

enum class JsonLayout { oneLine, indented };

/// Dates become ISO 8601 texts, data base64 texts, pictures objects with "kind", "width", "height" and
/// "bytes" (their number), styled texts objects with "text" and "runs". Bytes that are not UTF-8 are replaced
/// by U+FFFD.
[[nodiscard]] std::string jsonText(const Value& value, JsonLayout layout = JsonLayout::oneLine);

}  // namespace morvane
