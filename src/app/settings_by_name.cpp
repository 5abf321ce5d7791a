#include "app/settings_by_name.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>

#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/sites.h"

namespace morvane::settings {
namespace {

Failure unfit(const Setting& setting, const std::string& word) {
    std::string expected = localized(wordFor(setting.kind));
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

const Setting* named(std::string_view key) {
    const auto found = std::ranges::find_if(all(), [&](const Setting* setting) {
        return MVString::lowercased(setting->key) == MVString::lowercased(key);
    });
    return found != all().end() ? *found : nullptr;
}

std::string_view wordFor(Kind kind) {
    switch (kind) {
        case Kind::boolean:
        case Kind::flag:
            return marked("yes or no");
        case Kind::integer:
            return marked("an integer");
        case Kind::real:
            return marked("a positive number");
        case Kind::text:
            return marked("a text");
        case Kind::date:
            return marked("a date");
        case Kind::folders:
            return marked("folders");
        case Kind::library:
            return marked("the library");
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
    switch (setting.kind) {
        case Kind::boolean:
        case Kind::flag:
            return get(Key<bool>{setting});
        case Kind::integer:
            return stored(setting) ? Value(get(Key<std::int64_t>{setting})) : Value();
        case Kind::real:
            return get(Key<double>{setting});
        default:
            return stored(setting).value_or(Value());
    }
}

bool isFirstOfDay(const Key<Date>& key) {
    const Date today = now();
    bool isNew = false;
    const bool isStored = update(key, [&](const std::optional<Value>& last) {
        const Date* day = last ? last->as<Date>() : nullptr;
        isNew = day == nullptr || dayOf(*day) != dayOf(today);
        return isNew ? std::optional<Value>(today) : last;
    });
    return isStored && isNew;
}

}  // namespace morvane::settings
