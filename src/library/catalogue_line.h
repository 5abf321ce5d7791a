// library/catalogue_line.h: one port of the catalogue, as its lists name it. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/result.h"

namespace morvane {

/// A line of the catalogue's list, or a row of a ranking list.
struct CatalogueLine {
    std::int64_t id = 0;
    std::string creator;  ///< the folder of the port's author on the server
    std::string name;
    bool isFree = false, isNew = false;
    std::string country = "--";                ///< of a variant for one country; "--" for none
    std::string path = {};                     ///< address of the port's folder, ending in "/"
    std::optional<std::int64_t> dependencyID;  ///< the port that this one is an add-on of
    std::optional<bool> isNative;
    bool operator==(const CatalogueLine&) const = default;
};

/// Nothing for a line of fewer than six fields, or one that is not UTF-8.
[[nodiscard]] std::optional<CatalogueLine> generateDictionaryForPortListLine(std::string_view line);
/// The line of the port of that ID, asked for by itself. Nothing when the catalogue has none; a failure, in
/// the user's words, when it does not answer. Blocks.
[[nodiscard]] Result<std::optional<CatalogueLine>> requestedLineOfID(std::int64_t id);

}  // namespace morvane
