// app/app_actions.h: installing, opening, playing, stopping and removing: the one way of each, for the command, the
// windows, links, files that are opened, and the Dock.
//
// Main thread. Long work runs in the background and comes back to it, unless the application object is gone by then.
// Failures are told to the user.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/app_delegate_view.h"
#include "app/port_files.h"
#include "building/port_checks.h"
#include "foundation/progress_view.h"
#include "library/apps_array.h"
#include "library/apps_questions.h"
#include "library/description_view.h"
#include "library/library_view.h"

namespace morvane {

class WrapperCreation;

enum class Asking { no, yes };

class AppActions {
  public:
    /// What an action changes and shows. All of it outlives the actions.
    struct Surroundings {
        NSAppsArray& apps;
        LibraryView& library;
        NSDescriptionView& gamePage;
        ShellView& view;
        std::shared_ptr<NSProgressView> progress;
        std::function<void()> showLibrary;  ///< switches to its tab
    };

    explicit AppActions(Surroundings surroundings);
    ~AppActions();
    AppActions(const AppActions&) = delete;
    AppActions& operator=(const AppActions&) = delete;

    // Installing. A port that was built joins the library, and the view is told of it.
    /// Asks, and builds the port in the background.
    void installCkiFile(const PortFile& port);
    /// Asks for the port's file.
    void createWrapper();
    /// Asks for what is not given.
    void createBlankWrapper(const std::optional<BlankPort>& blank = {});

    // Opening
    /// Whether the file is one to open; of a program and an application, whether it was started.
    bool openFile(const std::string& path);
    /// True.
    bool shouldRunCkiFile(const std::string& path);
    /// In the wrapper that holds it, else in one that the user chooses from the library as far as it is
    /// loaded.
    bool shouldRunExeFile(const std::string& path);
    /// A text without "://" does nothing. Anybody may send a link: it shows a page and asks, and is never
    /// more than a text of a request to the catalogue.
    void handleURLEvent(const std::string& link);
    /// Whether a web view loads what was clicked in it: the application's own links are opened here, those of
    /// the CrossOver product by that product.
    bool shouldWebViewFollow(const std::string& link);

    // Playing
    /// Whether the path exists.
    bool shouldRunGameAtPath(const std::string& path);
    /// The titles; an item's tag is its index.
    [[nodiscard]] std::vector<std::string> applicationDockMenu() const;
    /// False for an item that is gone.
    bool launchLocalGameAction(std::size_t tag);

    // Stopping and removing
    /// Everything that runs in the item.
    void stopItem(const std::string& path, Asking asking = Asking::yes);
    /// From the list, and from the disk where that is wanted, after a question. The completion comes once it is gone
    /// from the list; never when the user declines.
    void removeItem(const std::string& path, RemovedFrom from,
                    std::function<void(const Removal&)> completion);

  private:
    using Handle = std::shared_ptr<AppActions*>;
    /// Later on the main thread, unless the object is gone by then.
    static void onActions(const Handle& self, std::function<void(AppActions&)> work);
    /// Runs the work with a creation of its own, which the progress panel's button cancels.
    void withCreation(const char* label,
                      const std::function<void(const std::shared_ptr<WrapperCreation>&)>& work);
    /// Any thread.
    static void joinLibrary(const Handle& self, const std::string& wrapper);
    void showDescriptionOfTheFirstGameListedInThatPage(const std::string& address);

    const Surroundings in_;
    /// Holds nothing once the object is gone.
    const Handle self_;
};

}  // namespace morvane
