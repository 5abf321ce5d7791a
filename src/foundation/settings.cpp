#include "foundation/settings.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "foundation/text.h"
#include "platform/host.h"

namespace morvane::settings {
namespace {

constexpr std::array<const Setting*, 26> list{
    &appList,
    &mainFolder,
    &autoOrderAppsList,
    &automaticFolderSave,
    &menuEntries,
    &developerMode,
    &automaticallySendCrashLogs,
    &lastFoundCrashLog,
    &descriptionFontSize,
    &webViewIncreaseTextSize,
    &useOldLibrary,
    &useVibrantDarkStyle,
    &hideDockInGridView,
    &collectionViewIconsScale,
    &offeredGamesFolder,
    &lastRunningDay,
    &runningDaysCounter,
    &automaticUpdates,
    &lastUpdateCheck,
    &webAutomaticSpellingCorrection,
    &prefixCreationTime,
    &newWrapperSandbox,
    &runWithoutSandbox,
    &toldOfSandbox,
    &caskerySite,
    &catalogueSite,
};

std::int64_t numberIn(const Value& stored) {
    if (const auto* number = stored.as<std::int64_t>()) return *number;
    if (const auto* flag = stored.as<bool>()) return *flag ? 1 : 0;
    if (const auto* text = stored.as<std::string>()) {
        const std::string digits = MVString::trimmed(*text);
        const bool negative = digits.starts_with('-');
        const std::int64_t number =
            MVString::initialIntValue(digits.substr(negative || digits.starts_with('+') ? 1 : 0));
        return negative ? -number : number;
    }
    const auto* real = stored.as<double>();
    constexpr double most = 1e18;  // beyond it, and for no number, the conversion is not defined
    if (real == nullptr || !(std::abs(*real) < most)) return 0;
    return static_cast<std::int64_t>(*real);
}

}  // namespace

std::span<const Setting* const> all() {
    return list;
}

std::optional<Value> stored(const Setting& setting) {
    return host().defaults.get(setting.key);
}

std::vector<std::string> storedFolders(const Setting& setting) {
    const auto value = stored(setting);
    if (!value) return {};
    const auto* several = value->as<Array>();
    std::vector<std::string> paths;
    for (const Value& folder : several != nullptr ? *several : Array{*value}) {
        const auto* text = folder.as<std::string>();
        if (text != nullptr && text->starts_with('/')) paths.push_back(*text);
    }
    return paths;
}

bool store(const Setting& setting, const std::optional<Value>& value) {
    return host().defaults.set(setting.key, value);
}

bool update(const Setting& setting,
            const std::function<std::optional<Value>(const std::optional<Value>&)>& change) {
    return host().defaults.update(setting.key, change);
}

bool get(const Key<bool>& key) {
    return host().defaults.getBool(key.key, key.fallback != 0);
}

std::int64_t get(const Key<std::int64_t>& key) {
    const auto value = stored(key);
    return value ? numberIn(*value) : static_cast<std::int64_t>(key.fallback);
}

double get(const Key<double>& key) {
    const auto value = stored(key);
    const double* real = value ? value->as<double>() : nullptr;
    const double number = real != nullptr ? *real : value ? static_cast<double>(numberIn(*value)) : 0;
    return number > 0 ? number : key.fallback;
}

std::string get(const Key<std::string>& key) {
    const auto value = stored(key);
    const std::string* text = value ? value->as<std::string>() : nullptr;
    return text != nullptr ? *text : "";
}

bool set(const Key<bool>& key, bool on) {
    return store(key, key.kind == Kind::flag ? Value(on ? 1 : 0) : Value(on));
}
bool set(const Key<std::int64_t>& key, std::int64_t number) {
    return store(key, Value(number));
}
bool set(const Key<double>& key, double number) {
    return store(key, Value(number));
}
bool set(const Key<std::string>& key, const std::string& text) {
    return store(key, Value(text));
}

}  // namespace morvane::settings
