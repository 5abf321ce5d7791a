#include "app/crash_reports.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "app/help_tab.h"
#include "foundation/alerts.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/mail_form.h"
#include "platform/crash_handler.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane::crash_reports {
namespace {

constexpr std::size_t mostReports = 10;

std::string reportsFolder(const Folders& folders) {
    return filled("%@/Library/Logs/DiagnosticReports/", {folders.library});
}

/// The names of the reports, oldest first.
std::vector<std::string> reportsIn(const std::string& folder) {
    std::vector<std::string> reports;
    const auto names = files::list(folder);
    if (names) {
        std::ranges::copy_if(*names, std::back_inserter(reports), [](const std::string& name) {
            return name.starts_with(filled("%@_", {"Morvane"}));
        });
    }
    return reports;
}

/// What the user did when it happened, as it stands in the message.
std::string askedDetails() {
    Dialog dialog;
    dialog.title = localized("Crash Log");
    dialog.text = localized(
        "Firstly, my apologies. It seems that the Morvane crashed for some reason. Could you inform us which "
        "was "
        "the last thing you did when the Morvane experienced the crash? With that information we will be "
        "able to "
        "solve that bug in the next update.");
    dialog.buttons = {localized("OK"), localized("Cancel")};
    dialog.accessory = TextField{};
    const DialogAnswer answer = MVAlert::showDialog(dialog);
    return answer.button == 0 ? filled("\nDetails: %@", {answer.text}) : "";
}

}  // namespace

void writeOwnReports(const Folders& folders) {
    const std::string folder = reportsFolder(folders);
    auto reports = reportsIn(folder);
    std::erase_if(reports, [](const std::string& name) { return !name.ends_with(".crash"); });
    for (std::size_t each = 0; each + mostReports < reports.size(); ++each) {
        const std::string path = folder + reports[each];
        if (files::kindOf(path) == files::Kind::file) static_cast<void>(files::remove(path));
    }
    installCrashHandler(
        {.folder = files::parent(folder + "x"), .program = "Morvane", .version = applicationVersion()});
}

void lookForCrashLogs() {
    if (!settings::get(settings::automaticallySendCrashLogs)) return;
    MVThread::dispatchQueueWithName("app.morvane.lookForCrashLogs", Priority::low, [] {
        // Here and not before: a name service that hangs must not hold up the start.
        if (!NSUtilities::isWebsiteOfUrlAvailable(host().sites.catalogue)) return;
        if (const auto report = newCrashLog()) sendNewCrashLog(*report);
    });
}

std::optional<std::string> newCrashLog() {
    const std::string folder = reportsFolder(host().folders);
    const auto reports = reportsIn(folder);
    const std::string last = reports.empty() ? "" : reports.back();
    if (last.empty() || settings::get(settings::lastFoundCrashLog) == last) return std::nullopt;
    return folder + last;
}

void sendNewCrashLog(const std::string& path) {
    const auto bytes = files::read(path);
    sendCrashLog(bytes && MVString::isValidUtf8(*bytes) ? *bytes : "", AskForDetails::yes);
    settings::set(settings::lastFoundCrashLog, files::lastComponent(path));
}

std::string crashedVersion(const std::string& report) {
    constexpr std::string_view kept = "0123456789(). ";
    const std::string line = NSUtilities::getFragmentAfter("Version: ", "\n", report);
    const std::size_t first = line.find_first_of(kept);
    const std::string version =
        first == std::string::npos ? "" : line.substr(first, line.find_last_of(kept) - first + 1);
    return version.find_first_not_of("0 ") == std::string::npos ? applicationVersion() : version;
}

void sendCrashLog(const std::string& report, AskForDetails ask) {
    const std::string version = filled("%@ Version: %@", {"Morvane", applicationVersion()});
    const std::string details = ask == AskForDetails::yes ? askedDetails() : "";
    mail_form::postSilently({{"name", "Anonymous User"},
                             {"email", mail_form::noReplyAddress()},
                             {"subject", filled("Crash Log %@", {crashedVersion(report)})},
                             {"comment", filled("\n%@%@\n\n%@", {version, details, report})}});
}

}  // namespace morvane::crash_reports
