#include "app/settings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>

#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/settings_keys.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/sites.h"

namespace morvane::settings {
namespace {

constexpr std::int64_t largestFont = 288, mostSteps = 20, mostDays = 1'000'000'000;

constexpr std::array list{
    Setting{appList, Kind::library, "the library, in its order"},
    Setting{mainFolder, Kind::folders, "the apps folders; the first that can be written to gets new ports"},
    Setting{autoOrderAppsList, Kind::integer, "the order kept in the library: 0 by name, 1 by size"},
    Setting{automaticFolderSave, Kind::flag, "new ports go to the first apps folder without a question"},
    Setting{developerMode, Kind::flag, "the catalogue lists what is meant for developers"},
    Setting{automaticallySendCrashLogs, Kind::flag, "look for crash reports at the start, and send them"},
    Setting{lastFoundCrashLog, Kind::text, "the crash report that was sent last"},
    Setting{descriptionFontSize, Kind::integer, "size of descriptions in points", 1, largestFont},
    Setting{webViewIncreaseTextSize, Kind::integer, "steps by which web pages show larger text", 0,
            mostSteps},
    Setting{useOldLibrary, Kind::boolean, "the library as a list instead of a grid"},
    Setting{useVibrantDarkStyle, Kind::boolean, "dark windows"},
    Setting{hideDockInGridView, Kind::flag, "no shelf under the grid"},
    Setting{collectionViewIconsScale, Kind::real, "by what the grid is reduced"},
    Setting{offeredGamesFolder, Kind::flag, "the games folder was offered"},
    Setting{lastRunningDay, Kind::date, "the last day on which the application ran"},
    Setting{runningDaysCounter, Kind::integer, "days on which the application ran", 0, mostDays},
    Setting{automaticUpdates, Kind::flag, "look for a newer version of the application, once a day"},
    Setting{lastUpdateCheck, Kind::date, "the last day on which a newer version was looked for"},
    Setting{webAutomaticSpellingCorrection, Kind::boolean, "web pages correct the spelling by themselves"},
    Setting{prefixCreationTime, Kind::real,
            "seconds that making a prefix took last, for the bar of the next one"},
    Setting{caskerySite, Kind::text, "address of the engines and wrappers; none: the embedded site"},
    Setting{catalogueSite, Kind::text, "address of the catalogue; none: the embedded one"},
};

Failure unfit(const Setting& setting, const std::string& word) {
    std::string expected(wordFor(setting.kind));
    if (setting.kind == Kind::integer) {
        expected += " (" + std::to_string(setting.least) + " to " + std::to_string(setting.most) + ")";
    }
    return Failure{
        localized("\"%@\" can't be the value of \"%@\": it holds %@.", {word, setting.key, expected})};
}

template <class Number>
std::optional<Number> numberIn(const std::string& word) {
    Number number{};
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
    return number;
}

std::optional<bool> truthIn(const std::string& typed) {
    const std::string word = MVString::lowercased(typed);
    for (const char* yes : {"1", "yes", "on", "true"})
        if (word == yes) return true;
    for (const char* no : {"0", "no", "off", "false"})
        if (word == no) return false;
    return std::nullopt;
}

Result<Value> foldersIn(const std::vector<std::string>& words) {
    Array folders;
    for (const std::string& word : words) {
        if (!word.starts_with('/') || !MVFileManager::directoryExistsAtPath(word))
            return Failure{localized("%@ is no folder.", {word})};
        folders.emplace_back(withFinalSlash(word));
    }
    return Value(std::move(folders));
}

/// A date cannot be typed; nor can the library.
bool isKeptByTheApplication(Kind kind) {
    return kind == Kind::date || kind == Kind::library;
}

bool readsAsTrueWhenAbsent(const Setting& setting) {
    return std::string_view(setting.key) == automaticallySendCrashLogs ||
           std::string_view(setting.key) == automaticUpdates;
}

constexpr double from1970To2001 = 978307200;

Date now() {
    const std::chrono::duration<double> since1970 = std::chrono::system_clock::now().time_since_epoch();
    return {since1970.count() - from1970To2001};
}

/// "2016-03-05": the user's calendar day; empty for a time of no calendar.
std::string dayOf(const Date& date) {
    constexpr double longest = 1e12;
    if (!(std::abs(date.secondsSince2001) < longest)) return "";
    const auto time = static_cast<std::time_t>(std::floor(date.secondsSince2001 + from1970To2001));
    std::tm local{};
    std::array<char, 32> text{};
    if (localtime_r(&time, &local) == nullptr) return "";
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &local)};
}

}  // namespace

std::span<const Setting> all() {
    return list;
}

const Setting* named(std::string_view key) {
    const auto* found = std::find_if(list.begin(), list.end(), [&](const Setting& setting) {
        return MVString::lowercased(setting.key) == MVString::lowercased(key);
    });
    return found != list.end() ? found : nullptr;
}

std::string_view wordFor(Kind kind) {
    switch (kind) {
        case Kind::boolean:
        case Kind::flag:
            return "yes or no";
        case Kind::integer:
            return "an integer";
        case Kind::real:
            return "a positive number";
        case Kind::text:
            return "a text";
        case Kind::date:
            return "a date";
        case Kind::folders:
            return "folders";
        case Kind::library:
            return "the library";
    }
    return "";
}

Result<Value> valueFor(const Setting& setting, const std::vector<std::string>& words) {
    if (isKeptByTheApplication(setting.kind))
        return Failure{localized("\"%@\" is kept by the application itself.", {setting.key})};
    if (setting.kind == Kind::folders && !words.empty()) return foldersIn(words);
    if (words.size() != 1) return unfit(setting, MVString::joined(words, " "));
    const std::string& word = words.front();
    if (setting.kind == Kind::text) {
        if (!MVString::isValidUtf8(word)) return unfit(setting, "?");
        return Value(word);
    }
    if (setting.kind == Kind::integer) {
        const auto number = numberIn<std::int64_t>(word);
        if (!number || *number < setting.least || *number > setting.most) return unfit(setting, word);
        return Value(*number);
    }
    if (setting.kind == Kind::real) {
        const auto number = numberIn<double>(word);
        if (!number || !std::isfinite(*number) || *number <= 0) return unfit(setting, word);
        return Value(*number);
    }
    const auto truth = truthIn(word);
    if (!truth) return unfit(setting, word);
    return setting.kind == Kind::flag ? Value(*truth ? 1 : 0) : Value(*truth);
}

Value reading(const Setting& setting) {
    const auto stored = host().defaults.get(setting.key);
    switch (setting.kind) {
        case Kind::boolean:
        case Kind::flag:
            return host().defaults.getBool(setting.key, readsAsTrueWhenAbsent(setting));
        case Kind::integer:
            return stored ? Value(integer(setting.key)) : Value();
        case Kind::real: {
            const double* scale = stored ? stored->as<double>() : nullptr;
            const double number = scale != nullptr ? *scale : static_cast<double>(integer(setting.key));
            return number == 0 ? Value(1.0) : Value(number);
        }
        default:
            return stored.value_or(Value());
    }
}

bool isFirstOfDay(const char* key) {
    const Date today = now();
    bool isNew = false;
    const bool isStored = host().defaults.update(key, [&](const std::optional<Value>& last) {
        const Date* day = last ? last->as<Date>() : nullptr;
        isNew = day == nullptr || dayOf(*day) != dayOf(today);
        return isNew ? std::optional<Value>(today) : last;
    });
    return isStored && isNew;
}

std::int64_t integer(const char* key) {
    const auto stored = host().defaults.get(key);
    if (!stored) return 0;
    if (const auto* number = stored->as<std::int64_t>()) return *number;
    if (const auto* flag = stored->as<bool>()) return *flag ? 1 : 0;
    if (const auto* text = stored->as<std::string>()) {
        const std::string digits = MVString::trimmed(*text);
        const bool negative = digits.starts_with('-');
        const std::int64_t number =
            MVString::initialIntValue(digits.substr(negative || digits.starts_with('+') ? 1 : 0));
        return negative ? -number : number;
    }
    const auto* real = stored->as<double>();
    constexpr double most = 1e18;  // beyond it, and for no number, the conversion is not defined
    if (real == nullptr || !(std::abs(*real) < most)) return 0;
    return static_cast<std::int64_t>(*real);
}

}  // namespace morvane::settings
