#include "platform/iso_time.h"

#include <array>
#include <cstdio>

namespace morvane {

std::string isoText(std::chrono::sys_seconds time) {
    using namespace std::chrono;
    const auto midnight = floor<days>(time);
    const year_month_day day(midnight);
    const hh_mm_ss clock(time - midnight);
    std::array<char, 64> buffer;
    std::snprintf(buffer.data(), buffer.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
                  static_cast<int>(day.year()), static_cast<unsigned>(day.month()),
                  static_cast<unsigned>(day.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    return buffer.data();
}

}  // namespace morvane
