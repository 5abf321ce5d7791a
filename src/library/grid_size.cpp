#include "library/grid_size.h"

#include <algorithm>
#include <cmath>

#include "foundation/settings.h"

namespace morvane {

GridItemSize gridItemSize() {
    return gridItemSize(settings::get(settings::collectionViewIconsScale));
}

GridItemSize gridItemSize(double scale) {
    constexpr double width = 191, height = 240, least = 0.25, most = 8;
    const double reduced = std::clamp(scale, least, most);
    return {static_cast<int>(std::floor(width / reduced)), static_cast<int>(std::floor(height / reduced))};
}

void reduceGridItems(double scale) {
    settings::set(settings::collectionViewIconsScale, scale);
}

}  // namespace morvane
