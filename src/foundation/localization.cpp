#include "foundation/localization.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "platform/host.h"

namespace morvane {

namespace {

/// One place of a format: where it ends, and which argument it has ("%2$@"); none: the next one.
struct Place {
    std::size_t size = 0;
    std::optional<std::size_t> argument;
};

std::optional<Place> placeAt(std::string_view format) {
    static constexpr std::array<std::string_view, 6> places{"%@", "%lld", "%ld", "%lu", "%d", "%s"};
    for (std::string_view each : places) {
        if (format.starts_with(each)) return Place{.size = each.size(), .argument = {}};
    }
    constexpr std::size_t positional = 4;
    if (format.size() < positional || format[0] != '%' || format[1] < '1' || format[1] > '9' ||
        format.substr(2, 2) != "$@") {
        return std::nullopt;
    }
    return Place{.size = positional, .argument = static_cast<std::size_t>(format[1] - '1')};
}

/// A format as the texts between its places; `arguments[i]` stands behind `literals[i]`.
struct Pieces {
    std::vector<std::string> literals{""};
    std::vector<std::size_t> arguments;
    std::size_t literalSize = 0;
};

Pieces piecesOf(std::string_view format) {
    Pieces pieces;
    std::size_t next = 0;
    for (std::size_t at = 0; at < format.size();) {
        if (const auto place = placeAt(format.substr(at))) {
            pieces.arguments.push_back(place->argument.value_or(next++));
            pieces.literals.emplace_back();
            at += place->size;
        } else {
            pieces.literals.back() += format[at++];
            ++pieces.literalSize;
        }
    }
    return pieces;
}

/// The arguments with which the format gives the text.
std::optional<std::vector<std::string>> argumentsIn(std::string_view text, const Pieces& pieces) {
    if (!text.starts_with(pieces.literals.front())) return std::nullopt;
    std::vector<std::string> arguments(pieces.arguments.size());
    std::size_t at = pieces.literals.front().size();
    for (std::size_t i = 0; i < pieces.arguments.size(); ++i) {
        const std::string& behind = pieces.literals[i + 1];
        const bool isLast = i + 1 == pieces.arguments.size();
        if (isLast && text.size() < at + behind.size()) return std::nullopt;
        if (isLast && !text.ends_with(behind)) return std::nullopt;
        const std::size_t end = isLast ? text.size() - behind.size() : text.find(behind, at);
        if (end == std::string_view::npos) return std::nullopt;
        if (pieces.arguments[i] >= arguments.size()) return std::nullopt;
        arguments[pieces.arguments[i]] = text.substr(at, end - at);
        at = end + behind.size();
    }
    if (at != text.size()) return std::nullopt;
    return arguments;
}

std::string filledWith(std::string_view format, const std::vector<std::string>& arguments) {
    const Pieces pieces = piecesOf(format);
    std::string result = pieces.literals.front();
    for (std::size_t i = 0; i < pieces.arguments.size(); ++i) {
        if (pieces.arguments[i] < arguments.size()) result += arguments[pieces.arguments[i]];
        result += pieces.literals[i + 1];
    }
    return result;
}

}  // namespace

std::string localized(std::string_view key) {
    return localizedIn("", key);
}

std::string localizedIn(std::string_view context, std::string_view key) {
    // Inside a wrapper there is no host, and nobody to read.
    if (!hasHost()) return std::string(key);
    return std::string(host().texts.text(context, key).value_or(key));
}

std::string filled(std::string_view format, std::initializer_list<std::string_view> arguments) {
    std::string result;
    std::size_t next = 0;
    for (std::size_t at = 0; at < format.size();) {
        const auto place = placeAt(format.substr(at));
        const std::size_t argument = place ? place->argument.value_or(next) : arguments.size();
        if (argument >= arguments.size()) {
            result += format[at++];
            continue;
        }
        if (!place->argument) ++next;
        result += *(arguments.begin() + argument);
        at += place->size;
    }
    return result;
}

std::string localized(std::string_view key, std::initializer_list<std::string_view> arguments) {
    return filled(localized(key), arguments);
}

std::string counted(std::string_view one, std::string_view several, std::uint64_t count,
                    std::initializer_list<std::string_view> arguments) {
    const std::string_view english = count == 1 ? one : several;
    if (!hasHost()) return filled(english, arguments);
    return filled(host().texts.text(one, count).value_or(english), arguments);
}

std::vector<std::string> englishTexts(std::string_view shown) {
    constexpr std::size_t leastLiterals = 3;  // less fits anything
    std::vector<std::pair<std::size_t, std::string>> found;
    if (hasHost()) {
        for (const auto& [key, entry] : host().texts.entries()) {
            for (const std::string& form : entry.forms) {
                const Pieces pieces = piecesOf(form);
                if (!pieces.arguments.empty() && pieces.literalSize < leastLiterals) continue;
                const auto arguments = argumentsIn(shown, pieces);
                if (!arguments) continue;
                for (const std::string& english : entry.english) {
                    found.emplace_back(pieces.literalSize, filledWith(english, *arguments));
                }
            }
        }
    }
    std::ranges::stable_sort(found, std::ranges::greater(), &std::pair<std::size_t, std::string>::first);
    std::vector<std::string> texts;
    for (auto& [size, text] : found) texts.push_back(std::move(text));
    if (texts.empty()) texts.emplace_back(shown);
    return texts;
}

}  // namespace morvane
