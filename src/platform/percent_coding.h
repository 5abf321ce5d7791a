// platform/percent_coding.h: characters of addresses as "%" and two hexadecimal digits (RFC 3986). Any thread.
#pragma once

#include <string>
#include <string_view>

namespace morvane::percent {

/// Everything but letters, digits, "-", "_", ".", "~" and what `plain` names.
[[nodiscard]] std::string encoded(std::string_view text, std::string_view plain = "");
/// A "%" without two digits stays.
[[nodiscard]] std::string decoded(std::string_view text);

}  // namespace morvane::percent
