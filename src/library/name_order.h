// library/name_order.h: the order of both lists. Any thread.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "foundation/text.h"

namespace morvane {

/// Sorts by `name`, ascending, whatever the case; equal names keep their order. Each name is lower-cased
/// once.
template <class Item>
void sortByName(std::vector<Item>& items) {
    std::vector<std::pair<std::string, std::size_t>> order;
    order.reserve(items.size());
    for (const Item& item : items) order.emplace_back(MVString::lowercased(item.name), order.size());
    std::ranges::sort(order);
    std::vector<Item> sorted;
    sorted.reserve(items.size());
    for (const auto& [name, place] : order) sorted.push_back(std::move(items[place]));
    items = std::move(sorted);
}

}  // namespace morvane
