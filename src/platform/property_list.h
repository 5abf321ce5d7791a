// platform/property_list.h: property list files, XML and binary. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/files.h"
#include "platform/value.h"

namespace morvane::property_lists {

/// Reads XML and binary property lists; the order of keys is kept. Nothing for anything else, also for an
/// empty text and for nesting beyond 512 levels.
[[nodiscard]] std::optional<Value> parse(std::string_view bytes);
/// The file's value; nothing when there is no readable property list.
[[nodiscard]] std::optional<Value> read(const std::string& path);
/// As XML. Null values, pictures and styled texts cannot stand in a property list and are left out.
[[nodiscard]] std::string xml(const Value& value);
/// Writes it as XML, atomically.
[[nodiscard]] Result<> write(const std::string& path, const Value& value);

}  // namespace morvane::property_lists
