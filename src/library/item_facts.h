// library/item_facts.h: what a page says of an installed item beside its description. Any thread; blocks on the disk.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace morvane {

struct ItemFacts {
    std::string engine;               ///< its name and version; empty for what has none
    std::uint64_t size = 0;           ///< of everything in it, in bytes
    std::optional<std::time_t> used;  ///< when its programs last wrote their settings
};

[[nodiscard]] ItemFacts factsOfItem(const std::string& path);

}  // namespace morvane
