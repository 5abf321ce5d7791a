#include "cli/help_language.h"

#include <CLI/CLI.hpp>
#include <array>

#include "foundation/localization.h"

namespace morvane::cli {

namespace {

/// The parser's own.
[[maybe_unused]] constexpr std::array parsersTexts{marked("Print this help message and exit"),
                                                   marked("Display program version information and exit"),
                                                   marked("Options")};
constexpr std::array labels{marked("Positionals"), marked("Subcommands"), marked("Usage"),
                            marked("REQUIRED")};

}  // namespace

std::string inLanguage(const MessageCatalogue& texts, std::string_view key) {
    return std::string(texts.text("", key).value_or(key));
}

void showInLanguage(CLI::App& app, const MessageCatalogue& texts) {
    if (texts.entries().empty()) return;
    const auto formatter = std::dynamic_pointer_cast<CLI::Formatter>(app.get_formatter());
    for (const char* label : labels) {
        if (formatter) formatter->label(label, inLanguage(texts, label));
    }
    app.description(inLanguage(texts, app.get_description()));
    for (CLI::Option* option : app.get_options([](const CLI::Option*) { return true; })) {
        option->description(inLanguage(texts, option->get_description()));
        option->group(inLanguage(texts, option->get_group()));
    }
    for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        command->group(inLanguage(texts, command->get_group()));
        showInLanguage(*command, texts);
    }
}

}  // namespace morvane::cli
