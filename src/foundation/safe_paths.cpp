#include "foundation/safe_paths.h"

#include <algorithm>
#include <optional>

#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"

namespace morvane {

namespace {

constexpr std::size_t longestLevel = 255;
constexpr std::size_t longestShown = 200;

bool isControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

/// U+0080 to U+009F and the two line breaks of Unicode, which a dialog or a log would break at.
bool holdsUnicodeControl(std::string_view text) {
    for (std::size_t at = text.find('\xC2'); at != std::string_view::npos; at = text.find('\xC2', at + 1)) {
        if (at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0) return true;
    }
    return MVString::contains(text, "\u2028") || MVString::contains(text, "\u2029");
}

std::string printable(std::string_view text) {
    std::string shown(text.substr(0, longestShown));
    std::replace_if(shown.begin(), shown.end(), isControl, '?');
    return text.size() > longestShown ? shown + "…" : shown;
}

/// Why the level cannot be a file's name; nothing when it can.
std::optional<std::string> flawOf(std::string_view level) {
    if (level == "." || level == "..") return localized("it leads out of its folder");
    if (level.size() > longestLevel) return localized("a name in it is too long");
    return std::nullopt;
}

std::optional<std::string> flawOf(std::string_view text, Levels levels) {
    if (text.empty()) return localized("it is empty");
    if (std::any_of(text.begin(), text.end(), isControl) || holdsUnicodeControl(text)) {
        return localized("it holds control characters");
    }
    if (levels == Levels::one && MVString::contains(text, "/")) return localized("it holds a \"/\"");
    return std::nullopt;
}

}  // namespace

bool staysInside(const std::string& folder, const std::string& path) {
    const auto root = files::resolved(folder);
    const auto real = files::resolved(path);
    if (!root || !real) return false;
    return *real == *root || real->starts_with(root->ends_with('/') ? *root : *root + "/");
}

Result<std::string> pathInside(const std::string& folder, std::string_view text, Levels levels,
                               std::string_view what) {
    const auto refusal = [&](const std::string& flaw) {
        return Failure{localized("\"%@\" can't be used as %@: %@.", {printable(text), what, flaw})};
    };
    if (const auto flaw = flawOf(text, levels)) return refusal(*flaw);
    std::string path = folder;
    bool named = false;
    for (const std::string& level : MVString::split(text, "/")) {
        if (level.empty()) continue;
        if (const auto flaw = flawOf(level)) return refusal(*flaw);
        path = files::join(path, level);
        named = true;
        // Level by level: a link that leads out is refused even when a later one would lead back in.
        if (files::kindOf(path) == files::Kind::link && !staysInside(folder, path)) {
            return refusal(localized("a link leads out of its folder"));
        }
    }
    if (!named) return refusal(localized("it is empty"));
    return path;
}

}  // namespace morvane
