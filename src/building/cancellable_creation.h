// building/cancellable_creation.h: a creation that the progress panel's cancel button ends. A worker.
#pragma once

#include <memory>

#include "building/wrapper_creation.h"

namespace morvane::building {

/// The button is this creation's until the last owner lets go of it. While another port is built, the button
/// stays with that one: this creation is going to be refused.
[[nodiscard]] std::shared_ptr<WrapperCreation> cancellableCreation(
    const std::shared_ptr<NSProgressView>& progress);

}  // namespace morvane::building
