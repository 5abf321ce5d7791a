#include "app/crash_reports.h"
#include "app/help_tab.h"
#include "app/preferences_view.h"
#include "app/settings_by_name.h"
#include "cli/commands.h"
#include "cli/table.h"
#include "foundation/build_log.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/json.h"

namespace morvane::cli {

namespace {

/// What the preferences window does when the user changes a setting that it shows; false for any other.
bool setInPreferences(const settings::Setting& setting, const Value& value) {
    const auto* number = value.as<std::int64_t>();
    if (number == nullptr) return false;
    NSPreferencesView view{{}};
    const auto is = [&](const settings::Setting& other) { return &setting == &other; };
    if (is(settings::developerMode)) {
        view.selectedDeveloperMode(*number != 0);
    } else if (is(settings::automaticallySendCrashLogs)) {
        view.selectedAutomaticCrashLog(*number != 0);
    } else if (is(settings::automaticUpdates)) {
        view.atomaticallyCheckForUpdates(*number != 0);
    } else if (is(settings::hideDockInGridView)) {
        view.hideDockInGridViewAction(*number != 0);
    } else if (is(settings::menuEntries)) {
        view.showGamesInMenu(*number != 0);
    } else if (is(settings::descriptionFontSize)) {
        view.changeFontSizeValue(*number);
    } else if (is(settings::webViewIncreaseTextSize)) {
        view.changeWebViewZoom(*number);
    } else {
        return false;
    }
    return true;
}

/// Lines up to an empty one or the end of the input.
std::string askedLines(Session& session, const std::string& prompt) {
    std::vector<std::string> lines;
    session.console().say(localized("%@ (an empty line ends it)", {prompt}));
    for (;;) {
        const auto line = session.console().readLine("> ");
        if (!line || line->empty()) break;
        lines.push_back(*line);
    }
    return MVString::joined(lines, "\n");
}

/// What was given, else what the user types; nothing where there is nobody to ask, which the form's check
/// tells.
std::string givenOrAsked(Session& session, const std::optional<std::string>& given,
                         const std::string& prompt) {
    if (given) return *given;
    if (!session.console().isInteractive()) return {};
    return session.console().readLine(prompt + " > ").value_or("");
}

}  // namespace

int listSettings(Session& session) {
    Table table{{{"key", marked("Key")},
                 {"value", marked("Value")},
                 {"stored", marked("Stored")},
                 {"kind", marked("Kind")},
                 {"meaning", marked("Meaning")}},
                {}};
    for (const settings::Setting* setting : settings::all()) {
        Value value = settings::reading(*setting);
        // The library's entries are listed by a command of their own.
        const auto* entries = setting->kind == settings::Kind::library ? value.as<Array>() : nullptr;
        if (entries != nullptr)
            value = counted("%@ item", "%@ items", entries->size(), {std::to_string(entries->size())});
        table.rows.push_back({setting->key, std::move(value), settings::stored(*setting).has_value(),
                              settings::wordFor(setting->kind), localized(setting->meaning)});
    }
    printTable(session.console(), table);
    return done;
}

int getSetting(Session& session, const std::string& key) {
    const auto* setting = settings::named(key);
    if (setting == nullptr)
        return session.fail(localized("There is no setting \"%@\". See: morvane settings list", {key}));
    const Value value = settings::reading(*setting);
    session.console().print(session.console().output() == Output::json ? jsonText(value) : cellText(value));
    return done;
}

int setSetting(Session& session, const std::string& key, const std::vector<std::string>& words) {
    const auto* setting = settings::named(key);
    if (setting == nullptr)
        return session.fail(localized("There is no setting \"%@\". See: morvane settings list", {key}));
    const auto value = settings::valueFor(*setting, words);
    if (!value) return session.fail(value.error());
    const Value& wanted = *value;
    if (!setInPreferences(*setting, wanted)) settings::store(*setting, wanted);
    if (settings::stored(*setting) != wanted)
        return session.fail(localized("%@ could not be written.", {host().defaults.path()}));
    return done;
}

int feedback(Session& session, const FeedbackTexts& texts) {
    NSHelpTab tab;
    tab.form.name = givenOrAsked(session, texts.name, localized("Your name"));
    tab.form.mail = givenOrAsked(session, texts.mail, localized("Your mail address"));
    tab.form.subject = givenOrAsked(session, texts.subject, "Subject");
    if (texts.text) {
        tab.form.description = *texts.text;
    } else if (session.console().isInteractive()) {
        tab.form.description = askedLines(session, localized("Your message"));
    }
    tab.form.addsComputerDescription = texts.describesComputer;
    if (texts.addsBuildLog) {
        const auto path = BuildLog::newestFile();
        if (!path) return session.fail(localized("There is no log of a build."));
        auto log = files::read(*path);
        if (!log) return session.fail(log.error());
        tab.form.buildLog = *std::move(log);
    }
    session.provideSite();
    return session.onWorker([&] { return tab.sendMail() ? int{done} : int{failed}; });
}

int crashReport(Session& session, const std::string& file) {
    std::string report;
    if (!file.empty()) {
        auto bytes = files::read(expandedPath(file));
        if (!bytes) return session.fail(bytes.error());
        report = *std::move(bytes);
        if (!MVString::isValidUtf8(report)) return session.fail(localized("%@ is no text.", {file}));
    }
    session.provideSite();
    return session.onWorker([&] {
        if (!file.empty()) {
            crash_reports::sendCrashLog(report, crash_reports::AskForDetails::yes);
            return int{done};
        }
        const auto found = crash_reports::newCrashLog();
        if (found) crash_reports::sendNewCrashLog(*found);
        session.console().say(found ? localized("Sent %@", {*found})
                                    : localized("There is no new crash report."));
        return int{done};
    });
}

int describeComputer(Session& session) {
    return session.onWorker([&] {
        Record record;
        for (const NSHelpTab::Line& line : NSHelpTab().computerSpecifications()) {
            const std::string name = line.label.substr(0, line.label.rfind(':'));
            const std::string key = MVString::replacedAll(MVString::lowercased(name), " ", "-");
            const std::string shown = localized(line.label);
            record.push_back({{key, shown.substr(0, shown.rfind(':'))}, line.value});
        }
        printRecord(session.console(), record);
        return int{done};
    });
}

int applyTheme(Session& session, const ThemePictures& pictures) {
    const std::pair<ThemeImage, std::string> wells[] = {{ThemeImage::window, pictures.window},
                                                        {ThemeImage::actionButton, pictures.action},
                                                        {ThemeImage::bottomButton, pictures.bottom}};
    NSPreferencesView view{{}};
    bool any = false;
    for (const auto& [well, path] : wells) {
        if (path.empty()) continue;
        auto bytes = files::read(expandedPath(path));
        if (!bytes) return session.fail(bytes.error());
        if (!view.putThemeImage(well, {*std::move(bytes)}))
            return session.fail(localized("%@ is no picture that can be read.", {path}));
        any = true;
    }
    if (!any) return session.fail(localized("Name a picture with --window, --action or --bottom."));
    return view.applyNewTheme() ? int{done} : session.fail(localized("Not every picture could be saved."));
}

int resetTheme(Session& session) {
    NSPreferencesView view{{}};
    return view.resetTheme() ? int{done} : session.fail(localized("Not every picture could be put back."));
}

}  // namespace morvane::cli
