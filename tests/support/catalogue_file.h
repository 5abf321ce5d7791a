// tests/support/catalogue_file.h: catalogues of a language that a test needs.
#pragma once

#include <map>
#include <string>

#include "platform/message_catalogue.h"

namespace morvane::testing {

/// The bytes of a `.mo` with these texts; keys and plural forms as the format has them, with "\4" and NUL.
[[nodiscard]] std::string catalogueFile(std::map<std::string, std::string> texts,
                                        const std::string& header = "");
/// Every text of the template, 40 % longer, with its places; to lay windows out by.
[[nodiscard]] MessageCatalogue longLanguage(const std::string& sourceFolder);

}  // namespace morvane::testing
