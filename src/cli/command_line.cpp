#include "cli/command_line.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/arguments.h"
#include "cli/help_language.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/utf8.h"

namespace morvane::cli {

namespace {

Result<> fillAnswers(Answers& answers, const Parsed& parsed) {
    for (const std::string& option : parsed.answers) {
        if (auto checked = answers.addAnswer(option); !checked) return checked;
    }
    for (const std::string& option : parsed.choices) {
        if (auto checked = answers.addChoice(option); !checked) return checked;
    }
    answers.defaults = parsed.defaults;
    return {};
}

/// How many letters one word is away from the other: put in, left out, another, or two that changed places.
std::size_t distanceBetween(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                table[i][j] = i + j;
                continue;
            }
            const std::size_t other = a[i - 1] == b[j - 1] ? 0 : 1;
            table[i][j] = std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, table[i - 1][j - 1] + other});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
        }
    }
    return table[a.size()][b.size()];
}

/// What to say of a first word that is no command; nothing when it is one.
std::optional<std::string> unknownCommand(const CLI::App& app, const MessageCatalogue& texts, int argc,
                                          char** argv) {
    const std::string_view word = argc > 1 ? argv[1] : "";
    if (word.empty() || word.starts_with('-')) return std::nullopt;
    std::string nearest;
    std::size_t least = std::max<std::size_t>(word.size() / 2, 1) + 1;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        const std::string name = command->get_name();
        if (name == word) return std::nullopt;
        const std::size_t distance = distanceBetween(word, name);
        if (distance < least) {
            least = distance;
            nearest = name;
        }
    }
    std::string text = filled(inLanguage(texts, "There is no command \"%@\"."), {word.substr(0, 100)});
    if (!nearest.empty()) text += " " + filled(inLanguage(texts, "Did you mean \"%@\"?"), {nearest});
    return text + " " + inLanguage(texts, "\"morvane --help\" names them all.");
}

/// The desktop takes this process's place. Comes back where there is no display, or no desktop beside us.
void becomeDesktop() {
    const bool hasDisplay = std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
    const auto own = files::resolved("/proc/self/exe");
    if (!hasDisplay || !own) return;
    const std::string program = files::join(files::parent(*own), "morvane-desktop");
    ::execl(program.c_str(), program.c_str(), nullptr);
}

}  // namespace

int runCommandLine(int argc, char** argv) {
    Parsed parsed;
    CLI::App app("Installs Windows games, each in its own application bundle.", "morvane");
    app.set_version_flag("--version", MORVANE_VERSION);
    app.require_subcommand(0, 1);
    // The options of questions may stand behind the command as well.
    app.fallthrough();
    app.add_option("--answer", parsed.answers,
                   "TITLE=BUTTON or TITLE=BUTTON:TEXT: answers a question of that title")
        ->allow_extra_args(false);
    app.add_option("--choose", parsed.choices, "TITLE=PATH: answers a file panel of that title")
        ->allow_extra_args(false);
    app.add_flag("--defaults", parsed.defaults, "take each remaining question's default");
    app.add_flag("--json", parsed.json, "JSON output");
    app.add_flag("--verbose", parsed.verbose, "also what the log gets: programs, transfers");
    addPortCommands(app, parsed);
    addWrapperCommands(app, parsed);
    addWrapperChanges(app, parsed);
    addCkiCommands(app, parsed);
    addEngineCommands(app, parsed);
    addSavesCommand(app, parsed);
    addLockCommand(app, parsed);
    addPropertiesCommand(app, parsed);
    addSettingsCommands(app, parsed);
    addFeedbackCommands(app, parsed);
    addLibraryCommands(app, parsed);
    addIconCommand(app, parsed);
    addDiscCommands(app, parsed);
    addServeCommand(app, parsed);
    addCatalogueCommands(app, parsed);
    addGameCommands(app, parsed);
    const MessageCatalogue texts = MessageCatalogue::ofUser(Folders::fromEnvironment().resources);
    showInLanguage(app, texts);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (const auto unknown = unknownCommand(app, texts, argc, argv)) {
            std::cerr << harmless(*unknown) << "\n";
            return usage;
        }
        const int code = app.exit(error);
        if (!std::cout.flush()) return failed;
        return code == 0 ? done : usage;
    }
    if (!parsed.command) {
        if (argc == 1) becomeDesktop();
        std::cerr << app.help() << "\n"
                  << inLanguage(
                         texts,
                         "There is no display to start the desktop on; the commands above do everything.")
                  << "\n";
        return usage;
    }
    Answers answers;
    if (const auto filled = fillAnswers(answers, parsed); !filled) {
        std::cerr << filled.error().message() << "\n";
        return usage;
    }
    // What throws here is a fault of ours, or a question of a command that works on this thread alone.
    try {
        Session session(parsed.json ? Output::json : Output::text, std::move(answers));
        if (parsed.verbose) session.showLog();
        return session.ending(parsed.command(session));
    } catch (const Unanswered& question) {
        std::cerr << harmless(filled(inLanguage(texts, "No answer to: %@"), {question.what()})) << "\n";
        return unanswered;
    } catch (const std::exception& error) {
        std::cerr << harmless(inLanguage(texts, "Error")) << ": " << harmless(error.what()) << "\n";
        return failed;
    }
}

}  // namespace morvane::cli
