// views/menus.h: menus that the core makes. Main thread.
#pragma once

#include <QMenu>

#include "library/description_view.h"

namespace morvane::views {

/// Adds the entries of a game's menu.
void fillMenu(QMenu& menu, const std::vector<NSDescriptionView::MenuItem>& items);

}  // namespace morvane::views
