// building/entry_removal.h: removing single entries of folders. Any thread; a failure on a worker waits for
// the user.
#pragma once

#include <string>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "platform/files.h"

namespace morvane {

/// Removes a file, or a link itself, a dangling one as well (`removeItemAtPath` leaves those). A folder
/// stays, and a missing entry is no failure. False after a reported error.
inline bool removeFileOrLink(const std::string& path) {
    const auto kind = files::kindOf(path);
    if (kind == files::Kind::none || kind == files::Kind::folder) return true;
    const auto removed = files::remove(path);
    if (!removed)
        MVAlert::showAlertErrorMessage(localized("Error while removing file: %@", {removed.error().why}));
    return removed.has_value();
}

}  // namespace morvane
