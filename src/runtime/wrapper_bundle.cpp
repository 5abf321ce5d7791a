#include "runtime/wrapper_bundle.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>

#include "platform/files.h"
#include "platform/property_list.h"
#include "wrapper/wrapper_settings.h"

namespace morvane::runtime {
namespace {

constexpr int largestSide = 16384;

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : static_cast<char>(c);
    });
    return lower;
}

std::optional<int> wholeNumber(std::string_view digits) {
    int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size() || digits.empty()) return std::nullopt;
    return number;
}

Result<Dictionary> readSettings(const std::string& path) {
    if (files::kindBehind(path) != files::Kind::file) return Failure{path + " is missing."};
    const auto value = property_lists::read(path);
    const Dictionary* settings = value ? value->as<Dictionary>() : nullptr;
    if (settings == nullptr) return Failure{path + " is no property list."};
    return *settings;
}

std::vector<std::string> wordsOf(std::string_view text) {
    std::vector<std::string> words;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        if (end > 0) words.push_back(lowerCase(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

}  // namespace

Result<WrapperBundle> WrapperBundle::around(const std::string& program) {
    WrapperBundle bundle;
    for (std::string folder = files::parent(program); folder != "/" && !folder.empty();
         folder = files::parent(folder)) {
        if (bundle.application.empty() && folder.ends_with(".app")) bundle.application = folder;
        // The settings tool and the Custom EXE applications are bundles without a Frameworks folder.
        if (folder.ends_with(".app") && Wrapper(folder).runsPrograms()) {
            bundle.wrapper = Wrapper(folder);
            break;
        }
    }
    if (bundle.wrapper.path().empty()) return Failure{program + " does not lie in a wrapper."};
    if (bundle.application != bundle.wrapper.path()) {
        bundle.role = files::lastComponent(program) == "CustomEXE" ? Role::customExe : Role::settingsTool;
    }
    if (bundle.role != Role::customExe) bundle.application = bundle.wrapper.path();
    return bundle;
}

std::string WrapperBundle::serverName() const {
    std::uint32_t hash = 2166136261U;  // FNV-1a
    for (const unsigned char byte : wrapper.path()) hash = (hash ^ byte) * 16777619U;
    std::array<char, 9> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x", hash);
    return std::string("wrapper-") + digits.data() + "Wineserver";
}

ScreenMode screenModeOf(std::string_view resolution) {
    constexpr std::string_view tail = "sleep0";
    ScreenMode mode;
    if (!resolution.ends_with(tail)) return mode;
    resolution.remove_suffix(tail.size());
    const std::size_t mark = resolution.rfind('x');
    if (mark == std::string_view::npos) return mode;
    const std::string_view size = resolution.substr(0, mark);
    if (size == "Current Resolution") {
        mode.desktop = ScreenMode::Desktop::current;
        return mode;
    }
    const std::size_t by = size.find('x');
    if (by == std::string_view::npos) return mode;  // "novd"
    const auto width = wholeNumber(size.substr(0, by)), height = wholeNumber(size.substr(by + 1));
    if (!width || !height || *width < 1 || *height < 1 || *width > largestSide || *height > largestSide)
        return mode;
    mode.desktop = ScreenMode::Desktop::fixed;
    mode.width = *width;
    mode.height = *height;
    return mode;
}

Result<LaunchSettings> launchSettingsOf(const WrapperBundle& bundle) {
    const bool custom = bundle.role == Role::customExe;
    const auto own = readSettings(bundle.application + (custom ? layout::customExePlist : layout::infoPlist));
    if (!own) return own.error();
    const auto shared = custom ? readSettings(bundle.wrapper.infoPlist()) : own;
    if (!shared) return shared.error();

    const auto& settings = *own;
    const auto& wrapperSettings = *shared;
    LaunchSettings launch;
    launch.program = getSetting(settings, wrapper_keys::program);
    launch.flags = getSetting(settings, wrapper_keys::programFlags);
    launch.useStart = getSetting(settings, wrapper_keys::useStart);
    launch.screen = screenModeOf(getSetting(settings, wrapper_keys::resolution));
    launch.singleCpu = getSetting(wrapperSettings, wrapper_keys::disableCPUs);
    launch.manyFiles = getSetting(wrapperSettings, wrapper_keys::setMaxFiles);
    launch.options = launchOptionsOf(settings, custom ? &wrapperSettings : nullptr);
    launch.associations = wordsOf(getSetting(wrapperSettings, wrapper_keys::associations));
    return launch;
}

}  // namespace morvane::runtime
