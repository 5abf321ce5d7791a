// app/start_up.h: the folders that everything else needs, and what start-up leaves for the end of the application.
#pragma once

#include <optional>

#include "app/app_delegate.h"
#include "platform/annotations.h"

namespace morvane {

/// Makes those that are missing. Any thread.
void verifyNeededFolders();

struct AppDelegate::FunctionKeys {
    Mutex mutex;
    std::optional<bool> standardMode MV_GUARDED_BY(mutex);
};

}  // namespace morvane
