#include "platform/json.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "platform/base64.h"

namespace morvane {

namespace {

using Json = nlohmann::ordered_json;

/// "2001-01-01T00:00:00Z"; nothing for times that have no such text.
Json isoText(Date date) {
    using namespace std::chrono;
    constexpr double limit = 2e11;  // some 6000 years each way
    if (!(std::abs(date.secondsSince2001) < limit)) return nullptr;
    const auto time =
        sys_days(2001y / January / 1) + seconds(static_cast<std::int64_t>(std::floor(date.secondsSince2001)));
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

Json jsonOf(const Value& value);

struct Converter {
    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(const std::string& text) const { return text; }
    Json operator()(std::int64_t number) const { return number; }
    Json operator()(double number) const { return number; }  // null when it is not finite
    Json operator()(bool flag) const { return flag; }
    Json operator()(Date date) const { return isoText(date); }
    Json operator()(const Data& data) const { return base64::encode(data.bytes); }
    Json operator()(const Array& array) const {
        Json result = Json::array();
        for (const Value& item : array) result.push_back(jsonOf(item));
        return result;
    }
    Json operator()(const Dictionary& dictionary) const {
        // An ordered object looks for a key from its beginning at every insertion; the keys are unique
        // already.
        Json::object_t result;
        for (const auto& [key, value] : dictionary) {
            static_cast<Json::object_t::Container&>(result).emplace_back(key, jsonOf(value));
        }
        return result;
    }
    Json operator()(const ImageData& image) const {
        return {{"kind", "image"},
                {"width", image.width},
                {"height", image.height},
                {"bytes", image.bytes.size()}};
    }
    Json operator()(const StyledText& styled) const {
        Json runs = Json::array();
        for (const StyledRun& run : styled.runs) {
            Json entry{{"length", run.length}, {"bold", run.bold}, {"italic", run.italic}};
            if (!run.font.empty()) entry["font"] = run.font;
            if (run.fontSize != 0) entry["fontSize"] = run.fontSize;
            if (!run.link.empty()) entry["link"] = run.link;
            runs.push_back(std::move(entry));
        }
        return {{"text", styled.text}, {"runs", std::move(runs)}};
    }
};

Json jsonOf(const Value& value) {
    return std::visit(Converter{}, value.variant());
}

}  // namespace

std::string jsonText(const Value& value, JsonLayout layout) {
    return jsonOf(value).dump(layout == JsonLayout::indented ? 2 : -1, ' ', false,
                              Json::error_handler_t::replace);
}

}  // namespace morvane
