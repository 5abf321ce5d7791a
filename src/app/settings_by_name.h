// app/settings_by_name.h: the application's settings by their names, and texts as values for them. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/settings.h"
#include "platform/result.h"
#include "platform/value.h"

namespace morvane::settings {

/// The setting of that key, whatever its case; null when there is none.
[[nodiscard]] const Setting* named(std::string_view key);
/// The word for a kind: "yes or no", "integer"...
[[nodiscard]] std::string_view wordFor(Kind kind);

/// What the words stand for as a value of the setting, or why they don't. Only folders take more than one.
[[nodiscard]] Result<Value> valueFor(const Setting& setting, const std::vector<std::string>& words);
/// How the stored value, or its absence, is read.
[[nodiscard]] Value reading(const Setting& setting);
/// Whether the date under the key is of another day than today, the user's calendar day; it is today's then.
/// Of several processes, one sees the new day. False when the date can't be stored.
[[nodiscard]] bool isFirstOfDay(const Key<Date>& key);

}  // namespace morvane::settings
