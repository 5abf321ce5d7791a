#include "runtime/screen.h"

#include <charconv>
#include <string>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/process.h"

namespace morvane::runtime {
namespace {

/// "1920x1080..." at the start of the text.
std::optional<ScreenSize> sizeAt(std::string_view text) {
    ScreenSize size{};
    const char* end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc() || width.ptr == end || *width.ptr != 'x') return std::nullopt;
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    if (height.ec != std::errc() || size.width < 1 || size.height < 1) return std::nullopt;
    return size;
}

/// The size before the place of the screen: "1920x1080+0+0".
std::optional<ScreenSize> placedSizeIn(std::string_view line) {
    for (std::size_t place = 0; place < line.size();) {
        const std::size_t end = std::min(line.find(' ', place), line.size());
        const std::string_view word = line.substr(place, end - place);
        if (word.find('+') != std::string_view::npos) {
            if (auto size = sizeAt(word)) return size;
        }
        place = end + 1;
    }
    return std::nullopt;
}

std::optional<ScreenSize> sizeFromKernel() {
    const std::string folder = "/sys/class/drm";
    const auto names = files::list(folder);
    if (failureOf(names) != nullptr) return std::nullopt;
    for (const std::string& name : std::get<std::vector<std::string>>(names)) {
        // The first mode of a display that is plugged in is the one it prefers.
        const auto modes = files::read(folder + "/" + name + "/modes");
        if (failureOf(modes) != nullptr) continue;
        if (auto size = sizeAt(std::get<std::string>(modes))) return size;
    }
    return std::nullopt;
}

}  // namespace

std::optional<ScreenSize> screenSizeFrom(std::string_view output) {
    std::optional<ScreenSize> first;
    for (std::size_t place = 0; place < output.size();) {
        const std::size_t end = std::min(output.find('\n', place), output.size());
        const std::string_view line = output.substr(place, end - place);
        place = end + 1;
        if (line.find(" connected") == std::string_view::npos) continue;
        const auto size = placedSizeIn(line);
        if (size && line.find(" connected primary ") != std::string_view::npos) return size;
        if (!first) first = size;
    }
    return first;
}

std::optional<ScreenSize> currentScreenSize() {
    const auto programs = processes::search("xrandr", environmentVariable("PATH"));
    if (!programs.empty()) {
        ProcessRequest request;
        request.program = programs.front();
        request.arguments = {"--current"};
        if (const auto result = processes::run(request)) {
            if (auto size = screenSizeFrom(result->output)) return size;
        }
    }
    return sizeFromKernel();
}

}  // namespace morvane::runtime
