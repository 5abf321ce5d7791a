#include "foundation/formats.h"

#include <array>

#include "foundation/localization.h"
#include "foundation/text.h"

namespace morvane::NSUtilities {

std::string getFragmentAfter(const std::optional<std::string_view>& start,
                             const std::optional<std::string_view>& end, std::string_view text) {
    const auto range = MVString::rangeAfterString(text, start, end);
    return range ? std::string(text.substr(range->location, range->length)) : "";
}

std::string timeNeededToDownload(std::int64_t bytes, std::int64_t speed) {
    if (speed < 1) return localized("Time out:%@", {" ∞"});
    const std::int64_t time = bytes / speed;
    std::string duration;
    const auto prepend = [&](std::string_view format, std::int64_t amount) {
        duration = localized(format, {std::to_string(amount), duration});
    };
    if (time % 60 > 0 || time < 60) duration = localized(" %ds", {std::to_string(time % 60)});
    if (const auto minutes = time / 60 % 60; minutes > 0) prepend(" %dm%@", minutes);
    if (const auto hours = time / 3600 % 24; hours > 0) prepend(" %dh%@", hours);
    if (const auto days = time / 86400; days > 0) prepend(" %dd%@", days);
    return localized("Time out:%@", {duration});
}

std::string humanReadableSizeForBytes(std::int64_t bytes, DecimalMeasureSystem decimal) {
    static constexpr std::array<std::string_view, 9> units{"b",  "Kb", "Mb", "Gb", "Tb",
                                                           "Pb", "Eb", "Zb", "Yb"};
    const std::int64_t base = decimal == DecimalMeasureSystem::yes ? 1000 : 1024;
    std::int64_t value = bytes;
    std::int64_t previous = 0;
    std::size_t unit = 0;
    while (value / base != 0 && unit + 1 < units.size()) {
        previous = value;
        value /= base;
        ++unit;
    }
    std::string text = std::to_string(value);
    // Truncated, never rounded: what is shown as done has arrived.
    const std::int64_t thousandths = previous % base * 1000 / base;
    if (thousandths > 99) text += "." + std::to_string(thousandths / 100);
    return text + std::string(units[unit]);
}

std::string errorHTMLWithMessage(std::string_view message) {
    constexpr std::string_view unselectable =
        "-webkit-touch-callout: none; -webkit-user-select: none; -khtml-user-select: none; "
        "-moz-user-select: none; -ms-user-select: none; user-select: none;";
    return filled(
        R"(<HTML><HEAD></HEAD><BODY bgcolor="black" style="%@" %@><center><div style="%@ %@ %@">%@</div></center></BODY></HTML>)",
        {"margin: 0; padding: 0; height: 100%; width: 100%;", R"(oncontextmenu="return false;")",
         unselectable,
         "position: absolute; top: 50%; left: 50%; transform: translateX(-50%) translateY(-50%);",
         "color:#FFFFFF; font-family: 'Helvetica Neue', Helvetica;", message});
}

bool booleanValue(std::string_view text) {
    std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
    if (at == std::string_view::npos) return false;
    if (text[at] == '+' || text[at] == '-') ++at;
    at = text.find_first_not_of('0', at);
    return at != std::string_view::npos &&
           std::string_view("YyTt123456789").find(text[at]) != std::string_view::npos;
}

}  // namespace morvane::NSUtilities
