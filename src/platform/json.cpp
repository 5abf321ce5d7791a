#include "platform/json.h"

#include <chrono>
#include <cmath>
#include <nlohmann/json.hpp>

#include "platform/base64.h"
#include "platform/iso_time.h"

namespace morvane {

namespace {

using Json = nlohmann::ordered_json;

/// "2001-01-01T00:00:00Z"; nothing for times that have no such text.
Json dateText(Date date) {
    using namespace std::chrono;
    constexpr double limit = 2e11;  // some 6000 years each way
    if (!(std::abs(date.secondsSince2001) < limit)) return nullptr;
    const auto time =
        sys_days(2001y / January / 1) + seconds(static_cast<std::int64_t>(std::floor(date.secondsSince2001)));
    return isoText(time);
}

Json jsonOf(const Value& value);

struct Converter {
    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(const std::string& text) const { return text; }
    Json operator()(std::int64_t number) const { return number; }
    Json operator()(double number) const { return number; }  // null when it is not finite
    Json operator()(bool flag) const { return flag; }
    Json operator()(Date date) const { return dateText(date); }
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
            if (run.white) entry["white"] = true;
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
