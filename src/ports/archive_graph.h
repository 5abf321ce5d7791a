// ports/archive_graph.h: an archive as it lies in its bytes, before anything is made of it. Any thread, no
// state.
//
// The views of a graph point into the archive's bytes, which must outlive it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/result.h"
#include "ports/typed_stream.h"

namespace morvane::typed_stream {

inline constexpr int deepestNesting = 256;       ///< objects within objects, the root included
inline constexpr std::size_t longestChain = 32;  ///< a class with its ancestors

/// What is made of a class's objects, by the nearest ancestor that we know.
enum class ClassKind {
    unknown,
    string,
    list,  ///< arrays and sets
    dictionary,
    number,
    data,
    date,
    null,
    url,
    styledText,
    font,
    image,
    imageRep
};

struct Class {
    std::string_view name;
    std::int64_t version = 0;
    std::optional<std::size_t> superclass;  ///< index into `Graph::classes`
    ClassKind kind = ClassKind::unknown;
    std::size_t chainLength = 0;  ///< 0 while the chain is being read
};

/// Bytes of the archive, which is never longer than this can say. Everything here is small: an archive has very many of
/// them, and half of the time of reading it is the kernel's, which clears the memory for them.
struct Piece {
    std::uint32_t offset = 0, length = 0;
};
/// The beginning of a group of that type; the values up to the next one are the group's.
struct GroupStart {
    Piece type;
};
struct Text {
    Piece bytes;
};
struct RawBytes {
    Piece bytes;
};
enum class ObjectIndex : std::uint32_t {};
enum class ClassIndex : std::uint32_t {};
enum class ListIndex : std::uint32_t {};

/// `monostate` is nil; a list holds the values of an array or a structure.
using Item = std::variant<std::monostate, std::int64_t, double, Text, RawBytes, ObjectIndex, ClassIndex,
                          ListIndex, GroupStart>;

/// A run of `Graph::items`.
struct ItemRange {
    std::uint32_t first = 0, count = 0;
};

struct Object {
    std::uint32_t number = 0;  ///< by which references name it
    std::uint32_t classIndex = 0;
    ItemRange fields;
};

struct Graph {
    std::string_view archive;
    ByteOrder order = ByteOrder::little;
    std::vector<Class> classes;
    std::vector<Object> objects;
    std::vector<ItemRange> lists;
    std::vector<Item> items;  ///< of every object and list, in one piece: an archive has very many small ones
    ItemRange groups;         ///< of the top level; never empty

    [[nodiscard]] std::span<const Item> in(ItemRange range) const {
        return std::span(items).subspan(range.first, range.count);
    }
    [[nodiscard]] std::string_view in(Piece piece) const {
        return archive.substr(piece.offset, piece.length);
    }
    [[nodiscard]] const Object& at(ObjectIndex index) const {
        return objects[static_cast<std::size_t>(index)];
    }
    [[nodiscard]] const Class& classOf(const Object& object) const { return classes[object.classIndex]; }
};

/// The graph of a whole archive, circles included, or what is wrong with it and where.
[[nodiscard]] Result<Graph> readGraph(std::string_view archive);

}  // namespace morvane::typed_stream
