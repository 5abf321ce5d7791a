#include "app/properties_window.h"
#include "cli/commands.h"
#include "cli/table.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "library/apps_array.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/styled_text.h"

namespace morvane::cli {

namespace {

using Window = NSPropertiesWindow;

/// Keeps the stored library in step with what the command changes. A library that was never made is left to
/// its first scan.
Window::Callbacks libraryCallbacks(NSAppsArray& apps) {
    const auto isStored = [] { return settings::stored(settings::appList).has_value(); };
    Window::Callbacks callbacks;
    callbacks.refresh = [&apps, isStored](const std::string& path, CustomEXE isCustomEXE) {
        if (isStored()) apps.refreshLocalPortAtPath(path, isCustomEXE);
    };
    const auto wait = [](const std::function<void(NSAppsArray::Completion)>& change) {
        bool ended = false;
        change([&] { ended = true; });
        host().mainQueue.runUntil([&] { return ended; });
    };
    callbacks.removeFromLibrary = [&apps, isStored, wait](const std::string& path) {
        if (isStored()) wait([&](auto completion) { apps.removeLocalPort(path, completion); });
    };
    callbacks.addToLibrary = [&apps, isStored, wait](const std::string& path) {
        if (isStored()) wait([&](auto completion) { apps.addLocalPort(path, completion); });
    };
    return callbacks;
}

const char* wordFor(Window::Kind kind) {
    switch (kind) {
        case Window::Kind::customEXE:
            return marked("application of a wrapper");
        case Window::Kind::boxerGame:
            return marked("Boxer bundle");
        case Window::Kind::wrapper:
        case Window::Kind::application:
            break;
    }
    return marked("wrapper");
}

const char* wordFor(Window::WindowType type) {
    switch (type) {
        case Window::WindowType::fakeFullScreen:
            return "full";
        case Window::WindowType::fakeWindowed:
            return "windowed";
        case Window::WindowType::ofPort:
            break;
    }
    return "port";
}

Window::WindowType windowTypeOf(const std::string& word) {
    if (word == "full") return Window::WindowType::fakeFullScreen;
    return word == "windowed" ? Window::WindowType::fakeWindowed : Window::WindowType::ofPort;
}

Record shownBy(const Window& window) {
    const Window::Shown& shown = window.shown();
    Array fixed, variables;
    for (const auto& [name, value] : shown.launch.environment) variables.emplace_back(name + "=" + value);
    const auto note = [&](const char* name, bool enabled) {
        if (!enabled) fixed.emplace_back(name);
    };
    note("version", shown.version.enabled);
    note("run", shown.run.enabled);
    note("window", shown.windowTypeEnabled);
    note("tray", shown.wineSystemTray.enabled);
    note("helvetica", shown.helveticaNeueFont.enabled);
    note("high-quality", shown.highQualityMode.enabled);
    note("fn", shown.functionKeys.enabled);
    note("sandbox", shown.sandboxEnabled);
    return {{{"path", marked("Path")}, window.wrapperPath()},
            {{"kind", marked("Kind")}, wordFor(window.kind())},
            {{"name", marked("Name")}, shown.name.text},
            {{"version", marked("Version")}, shown.version.text},
            {{"run", marked("Run")}, shown.run.text},
            {{"description", marked("Description")}, shown.description.text},
            {{"icon", marked("Has an icon")}, shown.icon.has_value()},
            {{"window", marked("Screen mode")}, wordFor(shown.windowType)},
            {{"tray", marked("System tray")}, shown.wineSystemTray.on},
            {{"helvetica", marked("Helvetica Neue")}, shown.helveticaNeueFont.on},
            {{"high-quality", marked("High quality")}, shown.highQualityMode.on},
            {{"fn", marked("Function keys")}, shown.functionKeys.on},
            {{"env", marked("Environment")}, std::move(variables)},
            {{"before", marked("Command before it")}, shown.launch.before.value_or("")},
            {{"sandbox", marked("Sandbox")}, wordFor(shown.sandbox)},
            {{"fixed", marked("Can't be changed")}, std::move(fixed)}};
}

Result<> enterLaunchOptions(Window& window, const PropertyChanges& changes) {
    Result<> entered;
    for (const std::string& name : changes.unset) {
        if (entered) entered = window.setVariable(name, std::nullopt);
    }
    for (const std::string& variable : changes.variables) {
        const std::size_t equals = variable.find('=');
        if (equals == std::string::npos)
            return Failure{localized("--env takes KEY=VALUE, not %@.", {variable})};
        if (entered) entered = window.setVariable(variable.substr(0, equals), variable.substr(equals + 1));
    }
    if (entered && changes.before) entered = window.typeCommandBefore(*changes.before);
    return entered;
}

/// Does what the user of the window would do.
Result<> enter(Window& window, const PropertyChanges& changes) {
    for (const auto* text : {&changes.name, &changes.version, &changes.run, &changes.description}) {
        if (*text && !MVString::isValidUtf8(**text)) return Failure{localized("A text is not UTF-8.")};
    }
    if (changes.icon) {
        auto bytes = files::read(expandedPath(*changes.icon));
        if (!bytes) return bytes.error();
        if (!window.changeIcon(ImageData{*std::move(bytes)}))
            return Failure{localized("%@ is no picture that can be read.", {*changes.icon})};
    }
    if (changes.name) window.typeName(*changes.name);
    if (changes.description) window.editDescription(styledText(*changes.description));
    const auto isOn = [](const std::optional<std::string>& word) { return *word == "on"; };
    const struct {
        const char* name;
        const std::optional<std::string>& word;
        std::function<bool()> change;
    } controls[] = {
        {"version", changes.version, [&] { return window.typeVersion(*changes.version); }},
        {"run", changes.run, [&] { return window.typeRunCommand(*changes.run); }},
        {"window", changes.window, [&] { return window.chooseWindowType(windowTypeOf(*changes.window)); }},
        {"tray", changes.tray, [&] { return window.switchWineSystemTray(isOn(changes.tray)); }},
        {"helvetica", changes.helvetica,
         [&] { return window.switchHelveticaNeueFont(isOn(changes.helvetica)); }},
        {"high-quality", changes.highQuality,
         [&] { return window.switchHighQualityMode(isOn(changes.highQuality)); }},
        {"fn", changes.functionKeys, [&] { return window.switchFunctionKeys(isOn(changes.functionKeys)); }},
        {"sandbox", changes.sandbox, [&] { return window.chooseSandbox(*sandboxOf(*changes.sandbox)); }},
    };
    for (const auto& control : controls) {
        if (control.word && !control.change())
            return Failure{localized("--%@ can't be changed for this item.", {control.name})};
    }
    return enterLaunchOptions(window, changes);
}

bool asksForAnything(const PropertyChanges& changes) {
    for (const auto* change :
         {&changes.name, &changes.version, &changes.icon, &changes.run, &changes.description, &changes.window,
          &changes.tray, &changes.helvetica, &changes.highQuality, &changes.functionKeys, &changes.before,
          &changes.sandbox}) {
        if (*change) return true;
    }
    return !changes.variables.empty() || !changes.unset.empty();
}

}  // namespace

int properties(Session& session, const std::string& app, const PropertyChanges& changes) {
    NSAppsArray apps;
    Window window(libraryCallbacks(apps));
    if (const auto shown = window.setDataFromWrapperAtPath(expandedPath(app)); !shown)
        return session.fail(shown.error());
    int result = done;
    if (asksForAnything(changes)) {
        if (const auto entered = enter(window, changes); !entered) return session.fail(entered.error());
        // On the main thread until all is said: an alert that nobody answers ends the command.
        const int ended = session.untilIdle([&] {
            if (window.saveDataToWrapper()) return int{done};
            if (window.isSaveCancelled()) {
                session.console().say(localized("Cancelled."));
                return int{cancelled};
            }
            return session.fail(localized("Not everything could be saved."));
        });
        if (ended != done) result = ended;
        if (ended == cancelled || ended == unanswered) return ended;
    }
    if (changes.before) {
        const auto words = runnableCommand(*changes.before, host().searchPath);
        if (!words) session.console().say(words.error().message());
    }
    if (changes.sandbox && window.shown().sandbox != Sandbox::off) {
        if (const auto obstacle = Window::sandboxObstacle()) session.console().say(*obstacle);
    }
    printRecord(session.console(), shownBy(window));
    return result;
}

}  // namespace morvane::cli
