#include <CLI/CLI.hpp>

#include "cli/arguments.h"
#include "cli/installed_app.h"
#include "foundation/localization.h"

namespace morvane::cli {

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
        const auto from = parsed.permanently ? RemovedFrom::diskPermanently
                          : parsed.disk      ? RemovedFrom::disk
                                             : RemovedFrom::list;
        return removeFromLibrary(session, parsed.path, from);
    });
    remove->add_option("PATH", parsed.path, "its path")->required();
    CLI::Option* disk = remove->add_flag("--disk", parsed.disk, "and from the disk, into the trash");
    remove->add_flag("--permanently", parsed.permanently, "not into the trash")->needs(disk);
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
        CLI::App* sub = folders->add_subcommand(adds ? "add" : "remove",
                                                adds ? marked("add one") : marked("take one out"));
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

}  // namespace morvane::cli
