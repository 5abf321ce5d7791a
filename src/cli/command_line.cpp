#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "building/engine_preparation.h"
#include "building/port_checks.h"
#include "cli/commands.h"
#include "cli/installed_app.h"
#include "platform/utf8.h"

namespace morvane::cli {

namespace {

using Command = std::function<int(Session&)>;

/// What the options and arguments of all commands fill.
struct Parsed {
    std::vector<std::string> answers, choices;
    bool defaults = false, json = false;
    std::string file, app, path, name, entry, out, to, source;
    PropertyChanges properties;
    FeedbackTexts feedback;
    ThemePictures theme;
    std::vector<std::string> words;
    bool steam = false, origin = false, uplay = false, macDriver = false, full = false, wait = false,
         behindProxy = false, answersOnly = false, withoutInstaller = false;
    PortToPublish port;
    bool disk = false;
    std::size_t from = 0, place = 0;
    std::int64_t votesPerHour = 0;
    std::int64_t id = 0;
    int stars = 0;
    Command command;
};

void addPortCommands(CLI::App& app, Parsed& parsed) {
    CLI::App* install = app.add_subcommand("install", "build a port from a CKI file");
    install->add_option("FILE.cki", parsed.file, "the port description")->required();
    install->add_option("--to", parsed.to, "where the wrapper is made (PATH.app)");
    install->callback(
        [&] { parsed.command = [&](Session& session) { return cli::install(session, parsed.file); }; });

    CLI::App* plan = app.add_subcommand("plan", "tell what an installation would do, without doing it");
    plan->add_option("FILE.cki", parsed.file, "the port description")->required();
    plan->add_option("--to", parsed.to, "where the wrapper would be made (PATH.app)");
    plan->add_flag("--answers", parsed.answersOnly,
                   "only the command line that installs it without a question, to fill in");
    plan->callback([&] {
        parsed.command = [&](Session& session) {
            return cli::plan(session, parsed.file, parsed.to,
                             parsed.answersOnly ? PlanAs::commandLine : PlanAs::stages);
        };
    });

    CLI::App* blank = app.add_subcommand("blank", "make an empty wrapper");
    blank->add_option("PATH.app", parsed.path, "where the wrapper is made")->required();
    blank->add_option("--engine", parsed.name, "the engine's name")->required();
    blank->add_flag("--steam", parsed.steam, "with the Steam client");
    blank->add_flag("--origin", parsed.origin, "with the Origin client");
    blank->add_flag("--uplay", parsed.uplay, "with the Uplay client");
    blank->add_flag("--mac-driver", parsed.macDriver, "with Wine's Mac graphics driver");
    blank->add_flag("--no-installer", parsed.withoutInstaller, "without an installer, and without questions");
    blank->callback([&] {
        parsed.command = [&](Session& session) {
            NSCustomPortView view;
            view.engine = parsed.name;
            view.DRMs = (parsed.steam ? drm::steam : 0) | (parsed.origin ? drm::origin : 0) |
                        (parsed.uplay ? drm::uplay : 0);
            view.macDriver = parsed.macDriver ? MacDriver::yes : MacDriver::no;
            view.installer = parsed.withoutInstaller ? InstallerNow::no : InstallerNow::yes;
            return cli::blank(session, parsed.path, view);
        };
    });
}

void addWrapperCommands(CLI::App& app, Parsed& parsed) {
    const auto command = [&](const char* name, const char* description) {
        CLI::App* sub = app.add_subcommand(name, description);
        sub->add_option("APP", parsed.app, "the wrapper")->required();
        return sub;
    };
    CLI::App* run = command("run", "start a wrapper");
    run->add_flag("--wait", parsed.wait, "return when the program has ended");
    run->callback([&] {
        parsed.command = [&](Session& session) {
            return withInstalledApp(session, parsed.app, [&](const std::string& item) {
                return cli::run(session, item, parsed.wait ? Waiting::yes : Waiting::no);
            });
        };
    });
    command("debug", "start a wrapper with logs, and wait for its end")->callback([&] {
        parsed.command = [&](Session& session) { return cli::debug(session, parsed.app); };
    });
    CLI::App* stop = app.add_subcommand("stop", "stop everything that runs in a wrapper");
    stop->add_option("APP", parsed.app, "the wrapper");
    stop->add_flag("--all", parsed.full, "every wrapper of the library, and all that is Wine's");
    stop->callback([&] {
        if (parsed.full != parsed.app.empty()) throw CLI::RequiredError("APP or --all");
        parsed.command = [&](Session& session) {
            return parsed.full ? stopAll(session) : cli::stop(session, parsed.app);
        };
    });
    CLI::App* exe = command("exe", "run a Windows program in a wrapper");
    exe->add_option("FILE", parsed.file, "an .exe, .com, .bat, .cmd, .msi or .lnk file")->required();
    exe->add_option("ARGUMENT", parsed.words, "what the program gets; behind --");
    exe->add_flag("--output", parsed.full, "show what the program prints");
    exe->callback([&] {
        parsed.command = [&](Session& session) {
            return cli::exe(session, parsed.app, parsed.file, parsed.words,
                            parsed.full ? ProgramOutput::shown : ProgramOutput::dropped);
        };
    });
    CLI::App* menu = command("menu", "print a wrapper's menu, or run an entry of it");
    menu->add_option("ENTRY", parsed.entry, "its title");
    menu->callback([&] {
        parsed.command = [&](Session& session) { return cli::menu(session, parsed.app, parsed.entry); };
    });
    CLI::App* tool = command("tool", "open a tool of Wine for a wrapper");
    tool->add_option("TOOL", parsed.name, "which one")
        ->required()
        ->check(CLI::IsMember({"winecfg", "regedit", "taskmgr", "cmd"}));
    tool->callback([&] {
        parsed.command = [&](Session& session) { return cli::tool(session, parsed.app, parsed.name); };
    });
}

void addPropertiesCommand(CLI::App& app, Parsed& parsed) {
    PropertyChanges& changes = parsed.properties;
    CLI::App* properties =
        app.add_subcommand("properties", "show the properties of a wrapper, or change them");
    properties->add_option("APP", parsed.app, "the wrapper, or an application of one")->required();
    properties->add_option("--name", changes.name, "its name");
    properties->add_option("--version", changes.version, "its version");
    properties->add_option("--icon", changes.icon, "a picture");
    properties->add_option("--run", changes.run, "the program with its arguments, as a Windows command line");
    properties->add_option("--description", changes.description, "a text");
    properties->add_option("--window", changes.window, "the screen mode")
        ->check(CLI::IsMember({"port", "full", "windowed"}));
    const auto addSwitch = [&](const char* name, std::optional<std::string>& place, const char* description) {
        properties->add_option(name, place, description)->check(CLI::IsMember({"on", "off"}));
    };
    addSwitch("--tray", changes.tray, "Wine's system tray");
    addSwitch("--helvetica", changes.helvetica, "Helvetica Neue in dialogs");
    addSwitch("--high-quality", changes.highQuality, "the mode for screens of high resolution");
    addSwitch("--fn", changes.functionKeys, "F1 to F12 act as function keys");
    properties->callback([&] {
        parsed.command = [&](Session& session) {
            return withInstalledApp(session, parsed.app, [&](const std::string& item) {
                return cli::properties(session, item, parsed.properties);
            });
        };
    });
}

void addSettingsCommands(CLI::App& app, Parsed& parsed) {
    CLI::App* settings = app.add_subcommand("settings", "the settings of the application");
    settings->require_subcommand(1);
    settings->add_subcommand("list", "print all of them")->callback([&] {
        parsed.command = [](Session& session) { return listSettings(session); };
    });
    CLI::App* get = settings->add_subcommand("get", "print one");
    get->add_option("KEY", parsed.name, "its name")->required();
    get->callback(
        [&] { parsed.command = [&](Session& session) { return getSetting(session, parsed.name); }; });
    CLI::App* set = settings->add_subcommand("set", "change one");
    set->add_option("KEY", parsed.name, "its name")->required();
    set->add_option("VALUE", parsed.words, "its value; of folders, several")->required();
    set->callback([&] {
        parsed.command = [&](Session& session) { return setSetting(session, parsed.name, parsed.words); };
    });
    CLI::App* theme = app.add_subcommand("theme", "the pictures of the desktop");
    theme->require_subcommand(1);
    CLI::App* apply = theme->add_subcommand("apply", "take other pictures");
    apply->add_option("--window", parsed.theme.window, "the background of the window");
    apply->add_option("--action", parsed.theme.action, "the action and trailer buttons");
    apply->add_option("--bottom", parsed.theme.bottom, "the button below the grid");
    apply->callback(
        [&] { parsed.command = [&](Session& session) { return applyTheme(session, parsed.theme); }; });
    theme->add_subcommand("reset", "take the pictures that came with the application")->callback([&] {
        parsed.command = [](Session& session) { return resetTheme(session); };
    });
}

void addFeedbackCommands(CLI::App& app, Parsed& parsed) {
    CLI::App* feedback = app.add_subcommand("feedback", "send a message to the makers of the catalogue");
    feedback->add_option("--name", parsed.feedback.name, "your name");
    feedback->add_option("--mail", parsed.feedback.mail, "your mail address");
    feedback->add_option("--subject", parsed.feedback.subject, "what it is about");
    feedback->add_option("--text", parsed.feedback.text, "the message");
    feedback->add_flag("--with-computer", parsed.feedback.describesComputer,
                       "with a description of this computer");
    feedback->callback(
        [&] { parsed.command = [&](Session& session) { return cli::feedback(session, parsed.feedback); }; });
    CLI::App* crash = app.add_subcommand("crash-report", "send a crash report");
    crash->add_option("FILE", parsed.file, "the report; else the last one that was not sent yet");
    crash->callback(
        [&] { parsed.command = [&](Session& session) { return crashReport(session, parsed.file); }; });
    CLI::App* resources =
        app.add_subcommand("resources", "tell whether everything is there that installing needs");
    resources->add_flag("--fix", parsed.full, "mend what is missing");
    resources->callback([&] {
        parsed.command = [&](Session& session) {
            return cli::resources(session, parsed.full ? FixResources::yes : FixResources::no);
        };
    });
    app.add_subcommand("specs", "describe this computer")->callback([&] {
        parsed.command = [](Session& session) { return describeComputer(session); };
    });
}

void addWrapperChanges(CLI::App& app, Parsed& parsed) {
    CLI::App* wrapper = app.add_subcommand("wrapper", "change a wrapper");
    wrapper->require_subcommand(1);
    CLI::App* update = wrapper->add_subcommand("update", "bring it up to the newest master wrapper");
    update->add_option("APP", parsed.app, "the wrapper")->required();
    update->callback(
        [&] { parsed.command = [&](Session& session) { return updateWrapper(session, parsed.app); }; });
}

void addCkiCommands(CLI::App& app, Parsed& parsed) {
    CLI::App* cki = app.add_subcommand("cki", "port descriptions");
    cki->require_subcommand(1);
    CLI::App* show = cki->add_subcommand("show", "print what a port description says");
    show->add_option("FILE", parsed.file, "a CKI file; with --json, any archive of the format")->required();
    show->callback([&] { parsed.command = [&](Session& session) { return showCki(session, parsed.file); }; });
    CLI::App* make = cki->add_subcommand("make", "write a CKI file");
    make->add_option("DESCRIPTION.plist", parsed.file, "a property list with the same keys, pictures by path")
        ->required();
    make->add_option("OUT.cki", parsed.out, "the file to write")->required();
    make->callback([&] {
        parsed.command = [&](Session& session) { return makeCki(session, parsed.file, parsed.out); };
    });
}

void addEngineCommands(CLI::App& app, Parsed& parsed) {
    CLI::App* engine = app.add_subcommand("engine", "engines");
    engine->require_subcommand(1);
    engine->add_subcommand("list", "print the known engines, newest first")->callback([&] {
        parsed.command = [](Session& session) { return listEngines(session); };
    });
    CLI::App* prepare = engine->add_subcommand("prepare", "fetch an engine");
    prepare->add_option("NAME", parsed.name, "the engine's name")->required();
    prepare->callback(
        [&] { parsed.command = [&](Session& session) { return cli::prepareEngine(session, parsed.name); }; });
    CLI::App* convert = engine->add_subcommand("convert", "repack a stored engine of an old generation");
    convert->add_option("NAME", parsed.name, "the engine's name")->required();
    convert->callback(
        [&] { parsed.command = [&](Session& session) { return convertEngine(session, parsed.name); }; });
    CLI::App* add = engine->add_subcommand("add-system", "pack this machine's Wine as an engine");
    add->add_flag("--full", parsed.full, "a self-contained copy");
    add->callback([&] {
        parsed.command = [&](Session& session) {
            return addSystemEngine(session, parsed.full ? EngineKind::full : EngineKind::thin);
        };
    });
}

/// A flag that may be said both ways, and that says nothing when it is left out.
void addChoice(CLI::App& command, const std::string& names, std::optional<bool>& value,
               const std::string& description) {
    command.add_flag_function(
        names, [&value](std::int64_t count) { value = count > 0; }, description);
}

void addPublishCommand(CLI::App& serve, Parsed& parsed) {
    PortToPublish& port = parsed.port;
    CLI::App* add = serve.add_subcommand("add", "publish a port in the catalogue of a folder");
    add->add_option("DIR", parsed.path, "the content folder, made when missing")->required();
    add->add_option("FILE.cki", port.cki, "the recipe; a native game has none");
    add->add_option("--name", port.name, "the game's title")->required();
    add->add_option("--creator", port.creator, "your folder in addresses: letters, digits, - _ .")
        ->required();
    add->add_option("--country", port.country, "a port for one country only: its code, such as BR");
    add->add_option("--description", port.description, "an HTML file");
    add->add_option("--icon", port.icon, "a picture");
    add->add_option("--trailer", port.trailer, "address of a video page or a picture");
    add->add_option("--crossover", port.crossover, "address of the game's CrossOver page");
    add->add_option("--genre", port.genres, "may be given again")->allow_extra_args(false);
    add->add_option("--source-link", port.sourceLinks,
                    "SOURCE=URL: where the game is sold; may be given again")
        ->allow_extra_args(false);
    add->add_option("--depends", port.dependency, "ID of the port that this one adds to");
    addChoice(*add, "--free,!--paid", port.free, "the game is free of charge, or is not");
    addChoice(*add, "--native,!--windows", port.native, "the game needs no wrapper, or does");
    addChoice(*add, "--developer,!--released", port.developer, "shown to port developers only, or to all");
    add->callback([&] {
        parsed.command = [&](Session& session) { return cli::publish(session, parsed.path, parsed.port); };
    });
}

void addIconCommand(CLI::App& app, Parsed& parsed) {
    CLI::App* icon = app.add_subcommand("icon", "give a wrapper, or an application inside one, an icon");
    icon->add_option("APP", parsed.app, "the wrapper or the application")->required();
    icon->add_option("PICTURE", parsed.file, "a PNG, JPEG, TIFF, GIF, BMP, ICNS, ICO or WebP file")
        ->required();
    icon->callback([&] {
        parsed.command = [&](Session& session) { return setIcon(session, parsed.app, parsed.file); };
    });
}

void addDiscCommands(CLI::App& app, Parsed& parsed) {
    CLI::App* disc = app.add_subcommand("disc", "discs with a part for Macs and one for Windows");
    disc->require_subcommand(1);
    disc->add_subcommand("list", "print the discs that are inserted")->callback([&] {
        parsed.command = [](Session& session) { return listDiscs(session); };
    });
    CLI::App* mount = disc->add_subcommand("mount", "mount a disc's Windows part");
    mount->add_option("ID", parsed.name, "which one, as listed");
    mount->callback(
        [&] { parsed.command = [&](Session& session) { return mountDisc(session, parsed.name); }; });
}

void addServeCommand(CLI::App& app, Parsed& parsed) {
    CLI::App* serve = app.add_subcommand("serve", "run a catalogue, and serve files, over HTTP");
    serve->require_subcommand(0, 1);
    serve->add_option("--content", parsed.path, "the content folder, made when missing");
    serve->add_option("--listen", parsed.name, "address and port; port 0 is a free one")
        ->default_val("127.0.0.1:0");
    serve->add_flag("--behind-proxy", parsed.behindProxy, "another server passes the requests on");
    serve->add_option("--votes-per-hour", parsed.votesPerHour, "votes of one address that count")
        ->default_val(60)
        ->check(CLI::PositiveNumber);
    addPublishCommand(*serve, parsed);
    serve->callback([&parsed, serve] {
        if (!serve->get_subcommands().empty()) return;
        if (parsed.path.empty()) throw CLI::RequiredError("--content");
        parsed.command = [&](Session& session) {
            return cli::serve(session, parsed.path, parsed.name,
                              parsed.behindProxy ? BehindProxy::yes : BehindProxy::no, parsed.votesPerHour);
        };
    });
}

void addLibraryCommands(CLI::App& app, Parsed& parsed) {
    CLI::App* open = app.add_subcommand("open", "open a file or a link as the desktop would");
    open->add_option("FILE-OR-LINK", parsed.file, "a .cki, .exe or .app, or a link of mvid:// or morvane://")
        ->required();
    open->callback(
        [&] { parsed.command = [&](Session& session) { return cli::open(session, parsed.file); }; });

    CLI::App* library = app.add_subcommand("library", "the installed games");
    library->require_subcommand(1);
    const auto command = [&](const char* name, const char* description, Command work) {
        CLI::App* sub = library->add_subcommand(name, description);
        sub->callback([&parsed, work = std::move(work)] { parsed.command = work; });
        return sub;
    };
    command("list", "print them", [&](Session& session) {
        return listLibrary(session, parsed.words);
    })->add_option("WORDS", parsed.words, "what to look for in their names");
    command("scan", "find what lies in the apps folders", scanLibrary);
    command("add", "add applications", [&](Session& session) { return addToLibrary(session, parsed.words); })
        ->add_option("PATH", parsed.words, "their paths")
        ->required();
    CLI::App* remove = command("remove", "take one from the list", [&](Session& session) {
        return removeFromLibrary(session, parsed.path, parsed.disk ? FromDisk::yes : FromDisk::no);
    });
    remove->add_option("PATH", parsed.path, "its path")->required();
    remove->add_flag("--disk", parsed.disk, "and from the disk");
    command("order", "sort them, now and whenever one is added",
            [&](Session& session) { return orderLibrary(session, parsed.name); })
        ->add_option("ORDER", parsed.name, "by what")
        ->required()
        ->check(CLI::IsMember({"name", "size", "none"}));
    CLI::App* move = command("move", "move one to another place", [&](Session& session) {
        return moveInLibrary(session, parsed.from, parsed.place);
    });
    move->add_option("FROM", parsed.from, "its place")->required();
    move->add_option("TO", parsed.place, "its new place")->required();

    CLI::App* folders = library->add_subcommand("folders", "the folders in which games are looked for");
    folders->require_subcommand(0, 1);
    folders->callback([&] {
        if (!parsed.command) parsed.command = listAppsFolders;
    });
    for (const auto change : {FolderChange::add, FolderChange::remove}) {
        const bool adds = change == FolderChange::add;
        CLI::App* sub = folders->add_subcommand(adds ? "add" : "remove", adds ? "add one" : "take one out");
        sub->add_option("PATH", parsed.path, "its path")->required();
        sub->callback([&, change] {
            parsed.command = [&, change](Session& session) {
                return changeAppsFolders(session, change, parsed.path);
            };
        });
    }
}

void addCatalogueCommands(CLI::App& app, Parsed& parsed) {
    CLI::App* catalogue = app.add_subcommand("catalogue", "the ports that others have published");
    catalogue->require_subcommand(1);
    const auto command = [&](const char* name, const char* description) {
        CLI::App* sub = catalogue->add_subcommand(name, description);
        sub->add_option("ID", parsed.id, "the port's ID, as listed")->required();
        return sub;
    };
    CLI::App* list =
        catalogue->add_subcommand("list", "print the ports, or those whose names hold the words");
    list->add_option("WORDS", parsed.words, "words of the name");
    list->callback(
        [&] { parsed.command = [&](Session& session) { return listCatalogue(session, parsed.words); }; });
    command("show", "print what is known of a port")->callback([&] {
        parsed.command = [&](Session& session) { return showCatalogueEntry(session, parsed.id); };
    });
    CLI::App* install = command("install", "install a port");
    install->add_option("--source", parsed.source, "where the game comes from");
    install->add_option("--to", parsed.to, "where the wrapper is made (PATH.app)");
    install->callback([&] {
        parsed.command = [&](Session& session) {
            return installFromCatalogue(session, parsed.id, parsed.source, parsed.to);
        };
    });
    CLI::App* rate = command("rate", "rate a port on this computer's graphics card, in the browser");
    rate->add_option("STARS", parsed.stars, "1 to 5")->required()->check(CLI::Range(1, 5));
    rate->callback([&] {
        parsed.command = [&](Session& session) {
            return rateCatalogueEntry(session, parsed.id, parsed.stars);
        };
    });
    CLI::App* rankings = catalogue->add_subcommand("rankings", "print the first ports of a ranking");
    rankings->add_option("LIST", parsed.name, "latest, popular or highrated")
        ->required()
        ->check(CLI::IsMember({"latest", "popular", "highrated"}));
    rankings->callback(
        [&] { parsed.command = [&](Session& session) { return listRankings(session, parsed.name); }; });
    CLI::App* save = command("save", "save a port's description file");
    save->add_option("--source", parsed.source, "where the game comes from")->required();
    save->add_option("FILE", parsed.file, "where to (FILE.cki)")->required();
    save->callback([&] {
        parsed.command = [&](Session& session) {
            return savePortFile(session, parsed.id, parsed.source, parsed.file);
        };
    });
}

void addGameCommands(CLI::App& app, Parsed& parsed) {
    const auto command = [&](const char* name, const char* description,
                             int (*run)(Session&, const std::string&)) {
        CLI::App* sub = app.add_subcommand(name, description);
        sub->add_option("APP", parsed.app, "the installed game")->required();
        sub->callback([&parsed, run] {
            parsed.command = [&parsed, run](Session& session) {
                return withInstalledApp(session, parsed.app,
                                        [&](const std::string& item) { return run(session, item); });
            };
        });
        return sub;
    };
    command("show", "print what is known of an installed game", showGame);
    command("play", "play a game, and wait for its end", play);
    command("drive", "print where a wrapper's drive C: is", showDrive);
    command("logs", "print the logs of a wrapper's last run", listLogs);
    CLI::App* mod = app.add_subcommand("mod", "install a mod or a patch");
    mod->add_option("APP", parsed.app, "the wrapper")->required();
    mod->add_option("FILE", parsed.words, "a program, an archive, or files and folders to copy");
    mod->add_option("--to", parsed.to, "the folder that gets the files");
    mod->callback([&] {
        parsed.command = [&](Session& session) {
            return installMod(session, parsed.app, parsed.words, parsed.to);
        };
    });
}

Result<> fillAnswers(Answers& answers, const Parsed& parsed) {
    for (const std::string& option : parsed.answers) {
        if (auto checked = answers.addAnswer(option); !checked) return checked;
    }
    for (const std::string& option : parsed.choices) {
        if (auto checked = answers.addChoice(option); !checked) return checked;
    }
    if (!parsed.to.empty()) answers.addChoice("Create Port at...", parsed.to);
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
std::optional<std::string> unknownCommand(const CLI::App& app, int argc, char** argv) {
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
    std::string text = "There is no command \"" + std::string(word.substr(0, 100)) + "\".";
    if (!nearest.empty()) text += " Did you mean \"" + nearest + "\"?";
    return text + " \"morvane --help\" names them all.";
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
    addPortCommands(app, parsed);
    addWrapperCommands(app, parsed);
    addWrapperChanges(app, parsed);
    addCkiCommands(app, parsed);
    addEngineCommands(app, parsed);
    addPropertiesCommand(app, parsed);
    addSettingsCommands(app, parsed);
    addFeedbackCommands(app, parsed);
    addLibraryCommands(app, parsed);
    addIconCommand(app, parsed);
    addDiscCommands(app, parsed);
    addServeCommand(app, parsed);
    addCatalogueCommands(app, parsed);
    addGameCommands(app, parsed);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (const auto unknown = unknownCommand(app, argc, argv)) {
            std::cerr << harmless(*unknown) << "\n";
            return usage;
        }
        const int code = app.exit(error);
        if (!std::cout.flush()) return failed;
        return code == 0 ? done : usage;
    }
    if (!parsed.command) {
        std::cerr << app.help()
                  << "\nThe desktop is not part of this build; the commands above do everything.\n";
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
        return session.ending(parsed.command(session));
    } catch (const Unanswered& question) {
        std::cerr << "No answer to: " << harmless(question.what()) << "\n";
        return unanswered;
    } catch (const std::exception& error) {
        std::cerr << "Error: " << harmless(error.what()) << "\n";
        return failed;
    }
}

}  // namespace morvane::cli
