// platform/iso_time.h: points in time as ISO 8601 texts. Any thread.
#pragma once

#include <chrono>
#include <string>

namespace morvane {

/// "2001-01-01T00:00:00Z"; the year takes at least four digits.
[[nodiscard]] std::string isoText(std::chrono::sys_seconds time);

}  // namespace morvane
