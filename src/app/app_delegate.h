// app/app_delegate.h: the application: its start and its end, its windows' contents, and what reaches it from
// outside.
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

#include "app/app_actions.h"
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
    /// What the user does with ports and items.
    [[nodiscard]] AppActions& actions() { return actions_; }
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
    AppActions actions_;
    std::unique_ptr<NSPreferencesView> preferences_;
    std::unique_ptr<NSAppsFoldersList> appsFolders_;
    std::shared_ptr<NSPropertiesWindow> properties_;
    unsigned propertiesWindows_ = 0;  ///< shown so far
    std::set<WebView> loadedWebsites_;
    /// Holds nothing once the object is gone.
    const std::shared_ptr<AppDelegate*> self_;
};

}  // namespace morvane
