// building/early_links.h: what a port's build will download after its prefix, as far as it is known before.
#pragma once

#include <string>
#include <vector>

#include "ports/port_data.h"

namespace morvane::building {

/// Extra files, store clients, and what its components need by the shared verb script, unless it is there already.
/// Reads that script; no network. Any thread.
[[nodiscard]] std::vector<std::string> earlyLinksOf(const NSPortData& port);

}  // namespace morvane::building
