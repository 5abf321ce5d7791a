#include "foundation/localization.h"

#include <array>

namespace morvane {

std::string localized(std::string_view key) {
    return std::string(key);
}

std::string filled(std::string_view format, std::initializer_list<std::string_view> arguments) {
    static constexpr std::array<std::string_view, 6> places{"%@", "%d", "%s", "%ld", "%lu", "%lld"};
    std::string result;
    auto next = arguments.begin();
    for (std::size_t at = 0; at < format.size();) {
        std::string_view place;
        for (std::string_view candidate : places) {
            if (next != arguments.end() && format.substr(at).starts_with(candidate)) place = candidate;
        }
        if (place.empty()) {
            result += format[at++];
        } else {
            result += *next++;
            at += place.size();
        }
    }
    return result;
}

std::string localized(std::string_view key, std::initializer_list<std::string_view> arguments) {
    return filled(localized(key), arguments);
}

}  // namespace morvane
