// building/new_sandbox.h: the sandbox that a new wrapper begins with. Any thread; tries this machine's out.
#pragma once

#include <optional>
#include <string>

#include "wrapper/sandbox.h"

namespace morvane {

/// As the user's setting says; without one `home`, where this machine can make it.
[[nodiscard]] Sandbox sandboxOfNewWrapper();
/// Writes it into the settings of a wrapper, unless a choice stands there already. Without it nothing of a port
/// may run there: false, and the user has been told.
[[nodiscard]] bool giveNewSandbox(const Wrapper& wrapper);
/// Once for each user: what new wrappers run in, or why they can't; nothing when it has been told.
[[nodiscard]] std::optional<std::string> newsOfSandbox();

}  // namespace morvane
