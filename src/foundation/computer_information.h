// foundation/computer_information.h: the graphics card and the system version, computed once per run. Any
// thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/value.h"

namespace morvane::NSComputerInformation {

/// `graphicCardDictionary`. The properties of the adapter with the highest bus rank; empty when there is
/// none. Of several with the same rank the first listed is taken.
[[nodiscard]] Dictionary graphicCardDictionary();
/// `graphicCardModel`.
[[nodiscard]] std::optional<std::string> graphicCardModel();
/// `graphicCardType`. "ATi/AMD", "Intel Iris", "Intel HD", "NVIDIA", or the model in upper case.
[[nodiscard]] std::optional<std::string> graphicCardType();
/// `graphicCardMemorySize`. As "1536 MB" or "2 GB".
[[nodiscard]] std::optional<std::string> graphicCardMemorySize();
/// `macOsVersion`. Empty when it is not known.
[[nodiscard]] std::string macOsVersion();
/// `isSystemMacOsEqualOrSuperiorTo:`.
[[nodiscard]] bool isSystemMacOsEqualOrSuperiorTo(std::string_view version);

}  // namespace morvane::NSComputerInformation
