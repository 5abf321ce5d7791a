// foundation/localization.h: the texts that users see. Any thread.
//
// The keys are the English texts, and what is shown where the user's language has none (`Host::texts`). Each stands as
// one literal in the call, or in `marked`, for `scripts/update-translations` to find it.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace morvane {

/// The text in the user's language.
[[nodiscard]] std::string localized(std::string_view key);

/// Replaces "%@", "%d", "%ld", "%lld", "%lu" and "%s" by the arguments in order; a place without an argument
/// stays as it is, and "%" before anything else is an ordinary character. "%2$@" is the second argument, for the
/// languages that say it first. Arguments are never formats.
[[nodiscard]] std::string filled(std::string_view format, std::initializer_list<std::string_view> arguments);

/// `filled(localized(key), arguments)`.
[[nodiscard]] std::string localized(std::string_view key, std::initializer_list<std::string_view> arguments);

/// An English text that means two things, told apart by a word that is never shown: what it is, or where it stands.
[[nodiscard]] std::string localizedIn(std::string_view context, std::string_view key);

/// A text with a number in it: the form that the language has for that many.
[[nodiscard]] std::string counted(std::string_view one, std::string_view several, std::uint64_t count,
                                  std::initializer_list<std::string_view> arguments);

/// A key that is looked up elsewhere; it is given back as it is.
[[nodiscard]] constexpr const char* marked(const char* key) {
    return key;
}

/// The English texts that can have been shown as this one, the likeliest first, arguments in their places; the text
/// itself when there is none. By them a script's answers find their questions in any language.
[[nodiscard]] std::vector<std::string> englishTexts(std::string_view shown);

}  // namespace morvane
