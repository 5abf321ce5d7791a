// app/settings.h: the application's settings as a list: what each holds, and texts as values for it. Any
// thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/result.h"
#include "platform/value.h"

namespace morvane::settings {

enum class Kind { boolean, flag, integer, real, text, date, folders, library };

struct Setting {
    const char* key;
    Kind kind;  ///< a flag is a boolean stored as 0 or 1
    const char* meaning;
    std::int64_t least = 0, most = 1;  ///< of an integer
};

/// Every setting, in the order in which they are listed.
[[nodiscard]] std::span<const Setting> all();
/// The setting of that key, whatever its case; null when there is none.
[[nodiscard]] const Setting* named(std::string_view key);
/// The word for a kind: "yes or no", "integer"...
[[nodiscard]] std::string_view wordFor(Kind kind);

/// What the words stand for as a value of the setting, or why they don't. Only folders take more than one.
[[nodiscard]] Result<Value> valueFor(const Setting& setting, const std::vector<std::string>& words);
/// How the stored value, or its absence, is read.
[[nodiscard]] Value reading(const Setting& setting);
/// The stored number: of a text its leading digits, of a real its whole part, of a boolean 0 or 1; 0 when
/// absent.
[[nodiscard]] std::int64_t integer(const char* key);
/// Whether the date under the key is of another day than today, the user's calendar day; it is today's then.
/// Of several processes, one sees the new day. False when the date can't be stored.
[[nodiscard]] bool isFirstOfDay(const char* key);

}  // namespace morvane::settings
