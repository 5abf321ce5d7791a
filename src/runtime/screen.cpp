#include "runtime/screen.h"

#include <dlfcn.h>

#include <charconv>
#include <string>

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

/// Asks the display by the library that Wine asks with; loaded here, so that a wrapper does not need it to do
/// the rest.
std::optional<ScreenSize> sizeFromDisplay() {
    using Display = void;
    void* library = ::dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return std::nullopt;
    const auto open = reinterpret_cast<Display* (*)(const char*)>(::dlsym(library, "XOpenDisplay"));
    const auto close = reinterpret_cast<int (*)(Display*)>(::dlsym(library, "XCloseDisplay"));
    const auto width = reinterpret_cast<int (*)(Display*, int)>(::dlsym(library, "XDisplayWidth"));
    const auto height = reinterpret_cast<int (*)(Display*, int)>(::dlsym(library, "XDisplayHeight"));
    std::optional<ScreenSize> size;
    if (open != nullptr && close != nullptr && width != nullptr && height != nullptr) {
        if (Display* display = open(nullptr)) {
            size = ScreenSize{width(display, 0), height(display, 0)};
            close(display);
        }
    }
    ::dlclose(library);
    return size;
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
    return sizeFromDisplay();
}

}  // namespace morvane::runtime
