#include <CLI/CLI.hpp>

#include "cli/arguments.h"
#include "cli/installed_app.h"
#include "wrapper/sandbox.h"

namespace morvane::cli {

void addPortCommands(CLI::App& app, Parsed& parsed) {
    CLI::App* install = app.add_subcommand("install", "build a port from a CKI file");
    install->add_option("FILE.cki", parsed.file, "the port description")->required();
    install->add_option("--to", parsed.to, "where the wrapper is made (PATH.app)");
    install->add_option("--locked", parsed.lock, "build from the files of this lock only (see lock)");
    install->callback([&] {
        parsed.command = [&](Session& session) {
            return cli::install(session, parsed.file, parsed.to, parsed.lock);
        };
    });

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

void addWrapperChanges(CLI::App& app, Parsed& parsed) {
    CLI::App* wrapper = app.add_subcommand("wrapper", "change a wrapper");
    wrapper->require_subcommand(1);
    CLI::App* update = wrapper->add_subcommand("update", "bring it up to the newest master wrapper");
    update->add_option("APP", parsed.app, "the wrapper")->required();
    update->callback(
        [&] { parsed.command = [&](Session& session) { return updateWrapper(session, parsed.app); }; });
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
    properties->add_option("--env", changes.variables, "KEY=VALUE: an environment variable of the program")
        ->allow_extra_args(false);
    properties->add_option("--unset", changes.unset, "a variable that goes again")->allow_extra_args(false);
    properties->add_option("--before", changes.before,
                           "a command that runs the program, as \"gamescope -f --\"; empty for none");
    properties->add_option("--sandbox", changes.sandbox, "what its programs may see of the machine")
        ->check(CLI::IsMember(std::vector<std::string>(sandboxWords.begin(), sandboxWords.end())));
    properties->callback([&] {
        parsed.command = [&](Session& session) {
            return withInstalledApp(session, parsed.app, [&](const std::string& item) {
                return cli::properties(session, item, parsed.properties);
            });
        };
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

}  // namespace morvane::cli
