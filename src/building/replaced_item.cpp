#include "building/replaced_item.h"

#include "building/entry_removal.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "platform/files.h"

namespace morvane::building {

ReplacedItem::ReplacedItem(const std::string& place) : place_(place), aside_(place + ".morvane-replaced") {}

ReplacedItem::~ReplacedItem() {
    if (!isAside_) return;
    // A failed creation may have left something to look into.
    if (files::kindOf(place_) == files::Kind::none) {
        MVFileManager::moveItemAtPath(aside_, place_);
    } else {
        MVAlert::showAlertMessage(localized("What was to be replaced is now at %@.", {aside_}), "Warning");
    }
}

bool ReplacedItem::stepAside() {
    if (files::kindOf(place_) == files::Kind::none) return true;
    if (files::kindOf(aside_) != files::Kind::none) {
        MVAlert::showAlertErrorMessage(localized(
            "%@ is what an earlier installation was to replace. Move it away or delete it first.", {aside_}));
        return false;
    }
    isAside_ = MVFileManager::moveItemAtPath(place_, aside_);
    return isAside_;
}

void ReplacedItem::discard() {
    if (!isAside_) return;
    isAside_ = false;
    if (files::kindOf(aside_) == files::Kind::link) {
        removeFileOrLink(aside_);
    } else {
        MVFileManager::removeItemAtPath(aside_);
    }
}

}  // namespace morvane::building
