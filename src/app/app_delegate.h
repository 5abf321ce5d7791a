// app/app_delegate.h: the application: its start and its end, its windows' contents, and what reaches it from
// outside: files, links, clicks on notifications and in the Dock.
//
// Main thread. It makes no request there: what needs the network runs on queues and comes back when it is
// known, so that a server that hangs holds up nothing else. What comes back finds nobody once the application
// object is gone.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/app_delegate_view.h"
#include "app/help_tab.h"
#include "app/preferences_view.h"
#include "app/properties_window.h"
#include "foundation/progress_view.h"
#include "library/apps_array.h"
#include "library/apps_folders_list.h"
#include "library/description_view.h"
#include "library/library_view.h"
#include "library/ranking_list.h"

namespace morvane {

class WrapperCreation;

class AppDelegate {
  public:
    /// Handles links from now on. The view must outlive it, and hears of changes at once.
    AppDelegate(ShellView& view, std::shared_ptr<NSProgressView> progress);
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    // What the windows show
    [[nodiscard]] NSAppsArray& apps() { return apps_; }
    [[nodiscard]] LibraryView& library() { return library_; }
    [[nodiscard]] NSDescriptionView& gamePage() { return gamePage_; }
    [[nodiscard]] NSRankingList& rankingList(NSRankingList::TableType type);
    [[nodiscard]] NSHelpTab& helpTab() { return helpTab_; }
    /// Both are filled, and write missing settings, when they are first asked for.
    [[nodiscard]] NSPreferencesView& preferences();
    [[nodiscard]] NSAppsFoldersList& appsFolders();
    /// The layout that was settled when the application was made.
    [[nodiscard]] LibraryLayout tableInUse() const { return layout_; }

    /// Switches to the tab, which the view is told.
    void showMorvaneTab(MorvaneTab tab);
    /// The user has switched to the tab: loads what it shows, once.
    void tabChosen(MorvaneTab tab);
    /// A click on a row of the library view: its page.
    void openRow(std::size_t row);
    /// A double click on it: plays an item that does not run yet, and opens the page of anything else.
    void activateRow(std::size_t row);
    /// The menu of a row; the game page need not show it. Empty for a line of the catalogue whose entry is not known.
    [[nodiscard]] std::vector<NSDescriptionView::MenuItem> menuOfRow(std::size_t row);
    /// Asks, and stops what runs in the item.
    void stopItem(const std::string& path);
    /// The properties editor of an item, in place of the one that is open; a failure is told.
    void showProperties(const std::string& path);
    /// The properties editor goes, with what is not saved. Nothing happens when there is none.
    void closeProperties();

    // Start and end (start_up.cpp)
    /// Once.
    void applicationDidFinishLaunching();
    /// Blocks on two programs.
    void applicationWillTerminate() const;
    [[nodiscard]] static bool applicationShouldTerminateAfterLastWindowClosed() { return true; }
    bool applicationShouldHandleReopen();
    /// Also while the application is in front.
    [[nodiscard]] static bool shouldPresentNotification() { return true; }
    /// Runs the game that the notification carries.
    void didActivateNotification(const std::string& info);
    /// A web view has loaded its page, or failed to.
    void webPageLoaded();
    /// Loads the page of a web view anew, as far as its server can be reached.
    void loadWebsiteAgain(WebView web);

    /// With its parents; a folder that can't be created is not reported.
    static void verifyFolder(const std::string& path);
    static void verifyNeededFolders();
    /// The user's picture of that name, or the default's copy; nothing without both.
    [[nodiscard]] static std::optional<std::string> destinationOfCopiedImage(const std::string& name);
    [[nodiscard]] static bool shouldEnableDarkMode();
    /// Returns at once. On the fifth day the user is asked for feedback.
    static void recordRunningDay();

    // Files and links (opening.cpp)
    /// Whether the file is one to open; of a program and an application, whether it was started.
    bool openFile(const std::string& path);
    /// True.
    bool shouldRunCkiFile(const std::string& path);
    /// In the wrapper that holds it, else in one that the user chooses from the library as far as it is
    /// loaded.
    bool shouldRunExeFile(const std::string& path);
    /// Whether the path exists.
    bool shouldRunGameAtPath(const std::string& path);
    /// Asks, and builds the port in the background.
    void installCkiFile(const std::string& path);
    void createWrapper();
    void createBlankWrapper();

    /// The titles; an item's tag is its index.
    [[nodiscard]] std::vector<std::string> applicationDockMenu() const;
    /// False for an item that is gone.
    bool launchLocalGameAction(std::size_t tag);

    /// A text without "://" does nothing. Anybody may send a link: it shows a page and asks, and is never
    /// more than a text of a request to the catalogue.
    void handleURLEvent(const std::string& link);
    /// Whether a web view loads what was clicked in it: the application's own links are opened here, those of
    /// the CrossOver product by that product.
    bool shouldWebViewFollow(const std::string& link);
    void showDescriptionOfTheFirstGameListedInThatPage(const std::string& address);

  private:
    /// Later on the main thread, unless the application object is gone by then.
    static void onDelegate(const std::shared_ptr<AppDelegate*>& self, std::function<void(AppDelegate&)> work);
    [[nodiscard]] NSDescriptionView::Callbacks gamePageCallbacks();
    /// Nothing shows any more what has left the library.
    void itemRemoved(const std::string& path);
    [[nodiscard]] NSRankingList::Callbacks rankingCallbacks(NSRankingList::TableType type);

    void checkIfShouldAutomaticallyCheckForUpdates();
    void checkIfFnToggleIsEnabled();
    void beginWithWindowAppearance();
    void loadAppTheme();
    void createMenulet();
    void loadNewsWebsite();
    void loadForum();
    enum class Attempt { first, again };
    void loadWebsite(WebView web, const std::string& address, Attempt attempt);
    void loadLists();
    void loadRankings();

    /// Runs the work with a creation of its own, which the progress panel's button cancels.
    void withCreation(const char* label,
                      const std::function<void(const std::shared_ptr<WrapperCreation>&)>& work);

    /// How F1 to F12 acted at the start; nothing until that is known.
    struct FunctionKeys;

    ShellView& view_;
    const std::shared_ptr<NSProgressView> progress_;
    const LibraryLayout layout_;
    const std::shared_ptr<FunctionKeys> functionKeys_;
    NSAppsArray apps_;
    LibraryView library_;
    NSDescriptionView gamePage_;
    NSRankingList latest_, popular_, highrated_;
    NSHelpTab helpTab_;
    std::unique_ptr<NSPreferencesView> preferences_;
    std::unique_ptr<NSAppsFoldersList> appsFolders_;
    std::shared_ptr<NSPropertiesWindow> properties_;
    unsigned propertiesWindows_ = 0;  ///< shown so far
    std::set<WebView> loadedWebsites_;
    /// Holds nothing once the object is gone.
    const std::shared_ptr<AppDelegate*> self_;
};

}  // namespace morvane
