// app/start_up.h: what start-up leaves for the end of the application.
#pragma once

#include <optional>

#include "app/app_delegate.h"
#include "platform/annotations.h"

namespace morvane {

struct AppDelegate::FunctionKeys {
    Mutex mutex;
    std::optional<bool> standardMode MV_GUARDED_BY(mutex);
};

}  // namespace morvane
