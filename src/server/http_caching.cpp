#include "server/http_caching.h"

#include <openssl/evp.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "foundation/text.h"
#include "server/http_listener.h"

namespace morvane {
namespace {

/// Dates have seconds: what is younger may change within the one that it tells.
constexpr std::time_t settledAfter = 2;

constexpr std::array<const char*, 7> days = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::optional<std::time_t> settled(std::time_t changed, std::time_t now) {
    return now - changed >= settledAfter ? std::optional(changed) : std::nullopt;
}

/// One of the tags in a list; a weak one is as good here, where bytes are not put together.
bool names(const std::string& list, const std::string& tag) {
    if (MVString::trimmed(list) == "*") return true;
    const auto tags = MVString::split(list, ",");
    return std::any_of(tags.begin(), tags.end(), [&](const std::string& text) {
        const std::string one = MVString::trimmed(text);
        return one == tag || one == "W/" + tag;
    });
}

}  // namespace

std::string entityTagOf(std::string_view bytes) {
    constexpr std::size_t bytesOfTag = 12;
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &size, EVP_sha256(), nullptr) != 1) return "";
    static constexpr char digits[] = "0123456789abcdef";
    std::string tag = "\"";
    for (std::size_t i = 0; i < bytesOfTag; ++i) tag += {digits[digest[i] >> 4], digits[digest[i] & 15]};
    return tag + '"';
}

Validators validatorsOf(const struct stat& file, std::time_t now) {
    std::array<char, 80> tag{};
    std::snprintf(tag.data(), tag.size(), "\"%llx-%llx-%llx.%lx\"",
                  static_cast<unsigned long long>(file.st_ino), static_cast<unsigned long long>(file.st_size),
                  static_cast<unsigned long long>(file.st_mtim.tv_sec),
                  static_cast<unsigned long>(file.st_mtim.tv_nsec));
    return {tag.data(), settled(file.st_mtim.tv_sec, now)};
}

std::string httpDate(std::time_t time) {
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                  days.at(static_cast<std::size_t>(parts.tm_wday)), parts.tm_mday,
                  months.at(static_cast<std::size_t>(parts.tm_mon)), parts.tm_year + 1900, parts.tm_hour,
                  parts.tm_min, parts.tm_sec);
    return text.data();
}

std::optional<std::time_t> timeOfHttpDate(const std::string& text) {
    std::array<char, 4> month{};
    std::tm parts{};
    if (std::sscanf(text.c_str(), "%*3[A-Za-z], %2d %3[A-Za-z] %4d %2d:%2d:%2d GMT", &parts.tm_mday,
                    month.data(), &parts.tm_year, &parts.tm_hour, &parts.tm_min, &parts.tm_sec) != 6)
        return std::nullopt;
    const auto* found = std::find(months.begin(), months.end(), std::string_view(month.data()));
    parts.tm_mon = static_cast<int>(found - months.begin());
    parts.tm_year -= 1900;
    const std::time_t time = ::timegm(&parts);
    // A date has one spelling: whatever was read otherwise is none.
    return found != months.end() && httpDate(time) == text ? std::optional(time) : std::nullopt;
}

bool isKept(const HttpQuery& query, const Validators& validators) {
    if (query.method != "GET" && query.method != "HEAD") return false;
    if (query.headers.contains("if-none-match"))
        return !validators.tag.empty() && names(query.header("if-none-match"), validators.tag);
    const auto since = timeOfHttpDate(query.header("if-modified-since"));
    return since && validators.changed && *validators.changed <= *since;
}

bool mayBePart(const HttpQuery& query, const Validators& validators) {
    const auto condition = query.headers.find("if-range");
    return condition == query.headers.end() ||
           (!validators.tag.empty() && condition->second == validators.tag);
}

std::optional<std::time_t> ChangeTimes::of(const std::string& address, const std::string& tag,
                                           std::time_t now) {
    const MutexLock lock(mutex_);
    if (states_.size() >= most_ && !states_.contains(address)) states_.clear();
    const auto [place, isNew] = states_.try_emplace(address, State{tag, now});
    if (!isNew && place->second.tag != tag) place->second = {tag, now};
    return settled(place->second.since, now);
}

}  // namespace morvane
