// foundation/localization.h: the texts that users see. Any thread.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace morvane {

/// The text in the user's language; the key is the English text, which is also what is returned without a
/// table.
[[nodiscard]] std::string localized(std::string_view key);

/// Replaces "%@", "%d", "%ld", "%lld", "%lu" and "%s" by the arguments in order; a place without an argument
/// stays as it is, and "%" before anything else is an ordinary character. Arguments are never formats.
[[nodiscard]] std::string filled(std::string_view format, std::initializer_list<std::string_view> arguments);

/// `filled(localized(key), arguments)`.
[[nodiscard]] std::string localized(std::string_view key, std::initializer_list<std::string_view> arguments);

}  // namespace morvane
