#include "building/port_texts.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/text.h"

namespace morvane::port_texts {
namespace {

bool isControl(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code < 0x20 || code == 0x7F;
}

bool isAscii(char character) {
    return static_cast<unsigned char>(character) < 0x80;
}

/// A control character in a dialog could write anything into a terminal, and a long text would hide the
/// buttons.
std::string shown(std::string_view text) {
    static constexpr std::size_t longest = 200;
    std::string visible(text.substr(0, longest));
    std::replace_if(visible.begin(), visible.end(), isControl, '?');
    return text.size() > longest ? visible + "…" : visible;
}

void tellLeftOut(const std::string& reason) {
    MVAlert::showAlertErrorMessage(reason + " " +
                                   localized("That entry of the port description is left out."));
}

/// The code of the character that begins at the position of a valid UTF-8 text, and the position behind it.
std::uint32_t nextCode(std::string_view text, std::size_t& position) {
    const auto first = static_cast<unsigned char>(text[position++]);
    const unsigned following = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    std::uint32_t code = first & (0x3Fu >> following);
    for (unsigned i = 0; i < following; ++i)
        code = (code << 6) | (static_cast<unsigned char>(text[position++]) & 0x3Fu);
    return code;
}

/// The unit as Wine writes it, so that a key which Wine has saved is found again: the shortest form, but four
/// digits where a digit of the text follows that would be read as part of the code.
std::string escapedUnit(std::uint32_t unit, std::string_view rest) {
    static constexpr std::string_view digits = "0123456789abcdef";
    const bool digitFollows = !rest.empty() && isAscii(rest[0]) && std::isxdigit(rest[0]) != 0;
    std::string escape = "\\x";
    for (int shift = 12; shift >= 0; shift -= 4) {
        if (digitFollows || (unit >> shift) != 0) escape += digits[(unit >> shift) & 0xF];
    }
    return escape;
}

std::optional<std::string> escaped(std::string_view text, std::string_view marks) {
    if (hasControlCharacters(text) || !MVString::isValidUtf8(text)) return std::nullopt;
    std::string result;
    for (std::size_t position = 0; position < text.size();) {
        if (isAscii(text[position])) {
            if (marks.find(text[position]) != std::string_view::npos) result += '\\';
            result += text[position++];
            continue;
        }
        const std::uint32_t code = nextCode(text, position);
        if (code < 0x10000) {
            result += escapedUnit(code, text.substr(position));
        } else {
            result += escapedUnit(0xD800 + ((code - 0x10000) >> 10), "");
            result += escapedUnit(0xDC00 + ((code - 0x10000) & 0x3FF), text.substr(position));
        }
    }
    return result;
}

}  // namespace

void refuse(std::string_view text, std::string_view what) {
    tellLeftOut(localized("\"%@\" can't be used as %@.", {shown(text), what}));
}

std::optional<std::string> gatedPath(const std::string& folder, std::string_view text, Levels levels,
                                     std::string_view what) {
    auto path = pathInside(folder, text, levels, what);
    if (path) return std::move(*path);
    tellLeftOut(path.error().message());
    return std::nullopt;
}

bool hasControlCharacters(std::string_view text) {
    return std::any_of(text.begin(), text.end(), isControl);
}

bool leavesItsFolder(std::string_view path) {
    const auto levels = MVString::split(MVString::replacedAll(path, "\\", "/"), "/");
    return std::find(levels.begin(), levels.end(), "..") != levels.end();
}

bool canBeExtension(std::string_view text) {
    static constexpr std::string_view marks = "_-+~!#$@.";
    return !text.empty() && text.size() <= 100 && text.front() != '.' && text.back() != '.' &&
           std::all_of(text.begin(), text.end(), [](char character) {
               return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                      (character >= '0' && character <= '9') ||
                      marks.find(character) != std::string_view::npos;
           });
}

std::optional<std::string> inRegistryKey(std::string_view text) {
    return escaped(text, "\\[]");
}

std::optional<std::string> inRegistryString(std::string_view text) {
    return escaped(text, "\\\"");
}

}  // namespace morvane::port_texts
