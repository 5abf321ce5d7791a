#include <CLI/CLI.hpp>
#include <iostream>

#include "cli/arguments.h"
#include "cli/command_line.h"
#include "cli/help_language.h"
#include "platform/folders.h"
#include "platform/utf8.h"

namespace morvane::cli {

int runCatalogueCommandLine(int argc, char** argv) {
    Parsed parsed;
    CLI::App app("Runs a catalogue of ports for Morvane.", "morvane-catalogue");
    app.set_version_flag("--version", MORVANE_VERSION);
    addServing(app, parsed);
    showInLanguage(app, MessageCatalogue::ofUser(Folders::fromEnvironment().resources));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error);
        if (!std::cout.flush()) return failed;
        return code == 0 ? done : usage;
    }
    try {
        Session session(Output::text, Answers());
        return session.ending(parsed.command(session));
    } catch (const std::exception& error) {
        std::cerr << "Error: " << harmless(error.what()) << "\n";
        return failed;
    }
}

}  // namespace morvane::cli
