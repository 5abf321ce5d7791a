// runtime/screen.h: the size of the user's screen.
#pragma once

#include <optional>
#include <string_view>

namespace morvane::runtime {

struct ScreenSize {
    int width, height;
    bool operator==(const ScreenSize&) const = default;
};

/// From what `xrandr` prints: the primary screen, else the first one that shows something.
[[nodiscard]] std::optional<ScreenSize> screenSizeFrom(std::string_view xrandrOutput);
/// The main screen's size by `xrandr`, else the display's whole area; nothing without a display.
[[nodiscard]] std::optional<ScreenSize> currentScreenSize();

}  // namespace morvane::runtime
