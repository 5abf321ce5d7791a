#include "views/menus.h"

#include "views/labels.h"

namespace morvane::views {

void fillMenu(QMenu& menu, const std::vector<NSDescriptionView::MenuItem>& items) {
    for (const NSDescriptionView::MenuItem& item : items) {
        QAction* action = menu.addAction(literalTitle(item.title));
        action->setEnabled(item.enabled);
        if (item.action) QObject::connect(action, &QAction::triggered, &menu, item.action);
    }
}

}  // namespace morvane::views
