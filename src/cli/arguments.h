// cli/arguments.h: the commands as the parser of the command line sees them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/commands.h"

namespace CLI {
class App;
}

namespace morvane::cli {

using Command = std::function<int(Session&)>;

/// What the options and arguments of all commands fill.
struct Parsed {
    std::vector<std::string> answers, choices;
    bool defaults = false, json = false, verbose = false;
    std::string file, app, path, name, entry, out, to, source, lock;
    PropertyChanges properties;
    FeedbackTexts feedback;
    ThemePictures theme;
    std::vector<std::string> words;
    bool steam = false, origin = false, uplay = false, macDriver = false, full = false, wait = false,
         behindProxy = false, answersOnly = false, withoutInstaller = false;
    PortToPublish port;
    CatalogueExport exported;
    bool disk = false, permanently = false;
    std::size_t from = 0, place = 0;
    std::int64_t votesPerHour = 0;
    std::int64_t id = 0;
    int stars = 0;
    Command command;
};

// Each adds its commands, with what they take.
void addPortCommands(CLI::App& app, Parsed& parsed);
void addWrapperCommands(CLI::App& app, Parsed& parsed);
void addWrapperChanges(CLI::App& app, Parsed& parsed);
void addSavesCommand(CLI::App& app, Parsed& parsed);
void addLockCommand(CLI::App& app, Parsed& parsed);
void addPropertiesCommand(CLI::App& app, Parsed& parsed);
void addIconCommand(CLI::App& app, Parsed& parsed);
void addLibraryCommands(CLI::App& app, Parsed& parsed);
void addCatalogueCommands(CLI::App& app, Parsed& parsed);
void addGameCommands(CLI::App& app, Parsed& parsed);
void addCkiCommands(CLI::App& app, Parsed& parsed);
void addEngineCommands(CLI::App& app, Parsed& parsed);
void addDiscCommands(CLI::App& app, Parsed& parsed);
void addServeCommand(CLI::App& app, Parsed& parsed);
/// What `serve` takes, for a program that does nothing else.
void addServing(CLI::App& serve, Parsed& parsed);
void addSettingsCommands(CLI::App& app, Parsed& parsed);
void addFeedbackCommands(CLI::App& app, Parsed& parsed);

}  // namespace morvane::cli
