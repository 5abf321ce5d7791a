#include <CLI/CLI.hpp>

#include "cli/arguments.h"

namespace morvane::cli {

namespace {

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

void addPublishedCommands(CLI::App& serve, Parsed& parsed) {
    CLI::App* remove =
        serve.add_subcommand("remove", "withdraw ports; publishing them again brings them back");
    remove->add_option("DIR", parsed.path, "the content folder")->required();
    remove->add_option("ID", parsed.words, "the ports, by their IDs")->required();
    remove->callback([&] {
        parsed.command = [&](Session& session) { return withdraw(session, parsed.path, parsed.words); };
    });
    CLI::App* writing =
        serve.add_subcommand("export", "write a catalogue as plain files that any web host can serve");
    writing->add_option("DIR", parsed.path, "the content folder")->required();
    writing->add_option("OUT", parsed.exported.folder, "a folder: empty, missing, or of an earlier export")
        ->required();
    writing->add_option("--live", parsed.exported.live,
                        "address of the server that takes votes and messages, for the players' programs");
    writing->callback([&] {
        parsed.command = [&](Session& session) {
            return cli::exportCatalogue(session, parsed.path, parsed.exported);
        };
    });
}

}  // namespace

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
    addServing(*app.add_subcommand("serve", "run a catalogue, and serve files, over HTTP"), parsed);
}

void addServing(CLI::App& serve, Parsed& parsed) {
    serve.require_subcommand(0, 1);
    serve.add_option("--content", parsed.path, "the content folder, made when missing");
    serve.add_option("--listen", parsed.name, "address and port; port 0 is a free one")
        ->default_val("127.0.0.1:0");
    serve.add_flag("--behind-proxy", parsed.behindProxy, "another server passes the requests on");
    serve.add_option("--votes-per-hour", parsed.votesPerHour, "votes of one address that count")
        ->default_val(60)
        ->check(CLI::PositiveNumber);
    addPublishCommand(serve, parsed);
    addPublishedCommands(serve, parsed);
    serve.callback([&parsed, &serve] {
        if (!serve.get_subcommands().empty()) return;
        if (parsed.path.empty()) throw CLI::RequiredError("--content");
        parsed.command = [&](Session& session) {
            return cli::serve(session, parsed.path, parsed.name,
                              parsed.behindProxy ? BehindProxy::yes : BehindProxy::no, parsed.votesPerHour);
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

}  // namespace morvane::cli
