// ports/typed_stream.h: the archive format of CKI and CKII files ("typedstream", streamer version 4, system
// version 1000, both byte orders), measured from archives that the platform wrote. Any thread, no state.
#pragma once

#include <string>
#include <string_view>

#include "platform/result.h"
#include "platform/value.h"

namespace morvane::typed_stream {

enum class ByteOrder { little, big };

/// The root object of an archive as a value. Dictionaries with keys that are no text, and objects of classes
/// that have no kind of value, become null values; a root that cannot be a value is a failure. Nesting beyond
/// 256 levels, counts and lengths beyond the bytes that are left, and damaged archives are failures. Time and
/// memory are bounded by the length of the input.
[[nodiscard]] Result<Value> unarchive(std::string_view bytes);

/// The whole archive generically, every group of it: byte order, versions, and for each object its classes
/// with versions and its fields. An object met again is a reference to its number. For inspection, also of
/// roots and classes that `unarchive` knows nothing of.
[[nodiscard]] Result<Value> describe(std::string_view bytes);

/// An archive of one root object: shortest integers, shared strings and classes, mutable dictionaries and
/// arrays as plain ones. Null values are written as NSNull, pictures as NSImage of one bitmap (converted to
/// TIFF).
[[nodiscard]] Result<std::string> archive(const Value& root, ByteOrder order = ByteOrder::little);

}  // namespace morvane::typed_stream
