// ports/typed_stream.h: the archive format of CKI and CKII files ("typedstream", streamer version 4, system
// version 1000, both byte orders), measured from archives that the platform wrote. Any thread, no state.
//
// Archives come from strangers. Reading takes time and memory in proportion to the length of the input,
// whatever the input claims: nothing is made room for before the bytes that fill it are there, objects nest
// at most 256 deep (on the way in, and again along references), a class has at most 32 ancestors. Objects may
// be shared, and a value tree holds a copy for every place: the tree of an archive of n bytes has at most 2n
// + 1024 values and 32n + 65536 bytes of texts, data and pictures, else the archive is refused. The worst
// archives that were tried took 215 bytes of memory for each byte of input to read, and 700 to describe
// (some 200 MB at most).
#pragma once

#include <string>
#include <string_view>

#include "platform/result.h"
#include "platform/value.h"

namespace morvane::typed_stream {

enum class ByteOrder { little, big };

/// The root object of an archive as a value: the first value of the first group.
///
/// Sets become lists, addresses texts; "c" numbers 0 and 1 are booleans, unsigned numbers beyond 63 bits
/// reals. Null values stand for nil, NSNull, dictionaries with keys that are no text, texts that are not
/// UTF-8, images without a picture and objects of any other class. A picture keeps the bytes and the size of
/// the archive. Bold and italic are read off the font's name. A root that cannot be a value, circles, known
/// classes with fields that do not fit them, and damaged archives (every proper prefix of an archive of one
/// group, bytes after the last group) are failures.
[[nodiscard]] Result<Value> unarchive(std::string_view bytes);

/// The whole archive generically, for inspection, also of roots and classes that `unarchive` knows nothing
/// of:
///
///     {"byteOrder": "little", "streamerVersion": 4, "systemVersion": 1000, "groups": [GROUP...]}
///     GROUP:  {"type": "@", "values": [VALUE...]}
///     OBJECT: {"object": 0, "class": [{"name": "NSArray", "version": 0}...], "fields": [GROUP...]}
///
/// An object met again is {"reference": number}; byte arrays, and texts that are not UTF-8, are data; other
/// arrays and structures are lists; a class value is {"class": [...]}. An archive whose description would
/// hold more than a quarter of a million values is refused.
[[nodiscard]] Result<Value> describe(std::string_view bytes);

/// An archive of one root object: shortest integers, shared strings and classes, mutable dictionaries and
/// arrays as plain ones. Every value is an object of its own. Null values are written as NSNull, integers as
/// "q", reals as "d", links as NSURL, pictures as NSImage of one bitmap (TIFF as it stands, others converted;
/// a size of 0 becomes the size in pixels). A bold or italic run without a font, or with a family's name,
/// gets the font of that face. Refused: nesting beyond 256 levels, texts that are not UTF-8, pictures that
/// cannot be decoded, styled texts whose runs do not sum to their length.
[[nodiscard]] Result<std::string> archive(const Value& root, ByteOrder order = ByteOrder::little);

}  // namespace morvane::typed_stream
