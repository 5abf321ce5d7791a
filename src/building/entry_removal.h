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
    const auto error = files::remove(path);
    if (error) MVAlert::showAlertErrorMessage(localized("Error while removing file: %@", {*error}));
    return !error;
}

}  // namespace morvane
