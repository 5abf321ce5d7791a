// wrapper/banner.h: the application's picture in a wrapper's settings tool. Any thread.
#pragma once

#include <string>

namespace morvane {

/// Replaces the wrapper's banner by the application's, where it has one. True always.
bool addHollinBannerAtFile(const std::string& wrapper);

}  // namespace morvane
