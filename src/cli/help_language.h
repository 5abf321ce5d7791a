// cli/help_language.h: the parser's help in the user's language. It is there before the machine is.
#pragma once

#include <string>
#include <string_view>

#include "platform/message_catalogue.h"

namespace CLI {
class App;
}

namespace morvane::cli {

/// The text, or the key itself.
[[nodiscard]] std::string inLanguage(const MessageCatalogue& texts, std::string_view key);
/// Every description of the command, its options and its subcommands, whose keys are the descriptions themselves.
void showInLanguage(CLI::App& app, const MessageCatalogue& texts);

}  // namespace morvane::cli
