// From the start of the application to its end.

#include "app/start_up.h"

#include "app/app_delegate.h"
#include "app/crash_reports.h"
#include "app/games_folder.h"
#include "app/settings_by_name.h"
#include "app/update_check.h"
#include "building/new_sandbox.h"
#include "foundation/alerts.h"
#include "foundation/computer_information.h"
#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/settings.h"
#include "foundation/tasks.h"
#include "foundation/threads.h"
#include "library/mail_form.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "wrapper/layout.h"
#include "wrapper/partitions.h"

namespace morvane {
namespace {

constexpr const char* wellKnownHost = "example.com";
constexpr std::int64_t dayOfTheFeedbackQuestion = 5;
constexpr const char* forumPage = "%@smf/index.php?action=forum";

void askForFeedback() {
    constexpr double width = 340, height = 90;
    Dialog dialog;
    dialog.title = localized("Morvane Feedback");
    dialog.text = localized(
        "A way to help MV to continue improving. Tell us everything you want: some game you are waiting for "
        "a "
        "port, a bug you experienced while using MV, a feature you would like to see. Every mail will be "
        "read "
        "with care.");
    dialog.buttons = {localized("Send"), localized("Cancel")};
    dialog.accessory = TextField{
        .text = "", .placeholder = localized("Your feedback goes here"), .width = width, .height = height};
    const DialogAnswer answer = MVAlert::showDialog(dialog);
    if (answer.button != 0) return;
    MVThread::dispatchQueueWithName("app.morvane.sendFeedback", Priority::normal, [comment = answer.text] {
        mail_form::postSilently({{"name", "Anonymous User"},
                                 {"email", mail_form::noReplyAddress()},
                                 {"comment", comment},
                                 {"subject", "User Feedback"}});
    });
}

/// What stands in place of a page of the catalogue; nothing when its server can be reached.
std::optional<std::string> reasonForNoWebsite() {
    const std::string& catalogue = host().sites.catalogue;
    if (NSUtilities::isWebsiteOfUrlAvailable(catalogue)) return std::nullopt;
    if (!NSUtilities::isWebsiteAvailable(wellKnownHost)) return localized("No internet connection");
    const auto parts = parseUrl(catalogue);
    return localized("Couldn't load %s website.", {parts ? parts->host : catalogue});
}

/// With its parents; a folder that can't be created is not reported.
void verifyFolder(const std::string& path) {
    if (!MVFileManager::directoryExistsAtPath(path)) static_cast<void>(files::createFolder(path, true));
}

bool shouldEnableDarkMode() {
    return settings::get(settings::useVibrantDarkStyle);
}

/// The user's picture of that name, or the default's copy; nothing without both.
std::optional<std::string> destinationOfCopiedImage(const std::string& name) {
    const std::string copy = filled("%@/%@", {layout::applicationSupportFolder(), name});
    if (MVFileManager::fileExistsAtPath(copy)) return copy;
    const std::string resource = files::join(host().folders.resources, name);
    const auto bytes = files::read(resource);
    if (!bytes) return std::nullopt;
    return files::write(copy, *bytes, files::Atomically::yes) ? copy : resource;
}

/// Returns at once. On the fifth day the user is asked for feedback.
void recordRunningDay() {
    MVThread::dispatchQueueWithName("app.morvane.recordRunningDay", Priority::normal, [] {
        if (!NSUtilities::isWebsiteOfUrlAvailable(host().sites.catalogue) ||
            !settings::isFirstOfDay(settings::lastRunningDay))
            return;
        const std::int64_t days = settings::get(settings::runningDaysCounter) + 1;
        settings::set(settings::runningDaysCounter, days);
        if (days == dayOfTheFeedbackQuestion) askForFeedback();
    });
}

void tell(const std::string& note) {
    host().userInterface.notify(
        {.title = "Morvane", .message = note, .info = "", .actionTitle = "", .image = {}});
}

/// Which tries this machine out.
void tellOfSandbox() {
    MVThread::dispatchQueueWithName("app.morvane.tellOfSandbox", Priority::low, [] {
        const auto news = newsOfSandbox();
        if (news) MVThread::dispatchBlockInMainQueue([note = *news] { tell(note); });
    });
}

}  // namespace

void verifyNeededFolders() {
    const std::string& library = host().folders.library;
    const std::string caskery = filled("%@/Library/Application Support/Caskery", {library});
    const std::string support = layout::applicationSupportFolder();
    for (const std::string& folder :
         {filled("%@/Engines", {caskery}), filled("%@/Wrapper", {caskery}), host().folders.verbsCache,
          support, filled("%@/IconCache", {support})}) {
        verifyFolder(folder);
    }
    // Not every system has one; without it, new ports would go to the desktop.
    verifyFolder(host().folders.applications);
}

void AppDelegate::applicationDidFinishLaunching() {
    view_.setNotificationHandler([this](const std::string& info) { didActivateNotification(info); });
    for (const std::string& note : host().notes) tell(note);
    tellOfSandbox();
    checkIfShouldAutomaticallyCheckForUpdates();
    checkIfFnToggleIsEnabled();
    verifyNeededFolders();
    beginWithWindowAppearance();
    loadAppTheme();
    createMenulet();
    loadNewsWebsite();
    games_folder::verifyGamesFolder();
    crash_reports::lookForCrashLogs();
    recordRunningDay();
    settings::set(settings::webAutomaticSpellingCorrection, false);
    loadLists();
}

void AppDelegate::checkIfShouldAutomaticallyCheckForUpdates() {
    update_check::lookForUpdate();
}

void AppDelegate::checkIfFnToggleIsEnabled() {
    MVThread::dispatchQueueWithName("getfntogglestate", Priority::low, [keys = functionKeys_] {
        const bool standardMode = NSUtilities::isUsingFnKeysFunctions();
        MutexLock lock(keys->mutex);
        keys->standardMode = standardMode;
    });
}

void AppDelegate::beginWithWindowAppearance() {
    // Only old Macs have a single appearance; a machine that is no Mac tells no version.
    const bool hasAppearances = NSComputerInformation::macOsVersion().empty() ||
                                NSComputerInformation::isSystemMacOsEqualOrSuperiorTo("10.10");
    if (!hasAppearances) return;
    const bool followsSystem = storedAppearance() == Appearance::system;
    view_.setWindowAppearance(followsSystem            ? WindowAppearance::system
                              : shouldEnableDarkMode() ? WindowAppearance::vibrantDark
                                                       : WindowAppearance::light);
}

void AppDelegate::loadAppTheme() {
    for (const ThemeFile& file : themeFiles) {
        if (const auto path = destinationOfCopiedImage(file.name)) view_.setThemeImage(file.image, *path);
    }
    if (!settings::stored(settings::useOldLibrary))
        settings::set(settings::useOldLibrary, settings::get(settings::useOldLibrary));
    if (layout_ == LibraryLayout::list) view_.showListLayout();
}

void AppDelegate::createMenulet() {
    view_.createMenulet({.image = files::join(host().folders.resources, "menuletR.png"),
                         .tooltip = "Morvane",
                         .titles = {filled("%@ %@", {"Morvane", applicationVersion()})}});
}

void AppDelegate::loadNewsWebsite() {
    loadWebsite(WebView::news, filled("%@blog/", {host().sites.catalogue}), Attempt::first);
}

void AppDelegate::loadWebsite(WebView web, const std::string& address, Attempt attempt) {
    if (!loadedWebsites_.insert(web).second) return;
    MVThread::dispatchQueueWithName(
        "app.morvane.loadWebsite", Priority::normal, [self = self_, web, address, attempt] {
            const auto reason = reasonForNoWebsite();
            onDelegate(self, [web, address, reason, attempt](AppDelegate& app) {
                if (reason) {
                    app.view_.showHtml(web, NSUtilities::errorHTMLWithMessage(*reason));
                    // Who has asked for it again waits there.
                    const bool isFirst = attempt == Attempt::first;
                    if (web == WebView::news && isFirst) app.showMorvaneTab(MorvaneTab::library);
                    return;
                }
                app.progress_->setMessage(localized("Loading webpage..."), CreatingPort::no);
                app.progress_->showCreatingPort(CreatingPort::no);
                app.view_.loadWebPage(web, address);
            });
        });
}

void AppDelegate::loadWebsiteAgain(WebView web) {
    loadedWebsites_.erase(web);
    loadWebsite(web, filled(web == WebView::news ? "%@blog/" : forumPage, {host().sites.catalogue}),
                Attempt::again);
}

void AppDelegate::loadForum() {
    loadWebsite(WebView::forum, filled(forumPage, {host().sites.catalogue}), Attempt::first);
}

void AppDelegate::webPageLoaded() {
    progress_->closeCreatingPort(CreatingPort::no);
}

void AppDelegate::loadLists() {
    library_.showTab(localTab);
    apps_.loadServerAppsBlock({});
}

bool AppDelegate::applicationShouldHandleReopen() {
    view_.bringMainWindowToFront();
    return true;
}

void AppDelegate::didActivateNotification(const std::string& info) {
    actions_.shouldRunGameAtPath(info);
}

void AppDelegate::applicationWillTerminate() const {
    std::optional<bool> standardMode;
    {
        MutexLock lock(functionKeys_->mutex);
        standardMode = functionKeys_->standardMode;
    }
    // An application that ends before it knows the mode has not changed it either.
    if (standardMode) {
        MVTask::ignoreEnding(
            MVTask::runProgram(filled("%@/fntoggle", {host().folders.resources}), std::nullopt,
                               MVTask::Arguments({*standardMode ? "on" : "off"}), Wait::yes));
    }
    MVTask::ignoreEnding(MVTask::runProgram(
        "umount", std::nullopt, MVTask::Arguments({NSPartitionMounter::mountPoint()}), Wait::yes));
}

}  // namespace morvane
