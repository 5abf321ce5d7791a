// library/grid_size.h: how large the items of the grid are. Any thread.
#pragma once

namespace morvane {

/// The size of an item of the grid, in points.
struct GridItemSize {
    int width = 0, height = 0;
    bool operator==(const GridItemSize&) const = default;
};
/// What the setting "Collection View Icons Scale" makes of 191 by 240: reduced by it, and cut to whole
/// points. A setting that is missing or no positive number reduces by 1; one beyond what can be seen and
/// clicked, from a quarter to 8, counts as the nearest that can.
[[nodiscard]] GridItemSize gridItemSize();
/// The same for any number.
[[nodiscard]] GridItemSize gridItemSize(double scale);
/// Stores what `gridItemSize` reduces by.
void reduceGridItems(double scale);

}  // namespace morvane
