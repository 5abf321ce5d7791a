// library/description_view.h: the page of one game: what it shows, and its buttons and menus.
//
// Main thread, as are all callbacks. Long work runs on queues of its own, and ends without a word to a page
// that is gone. Catalogue, wrapper and settings are read where a click needs them, so that the page is never
// stale.
//
// While a question is open, anything may fill the page: an installation that ends, a link, a description that
// was slow. So every action is given its game, which a button takes when it is clicked and a menu when it is
// opened (`gameData`), and keeps to it through all its questions. Without a game nothing happens.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/progress_view.h"
#include "library/apps_array.h"
#include "library/catalogue_line.h"
#include "library/game_actions.h"
#include "library/game_data.h"
#include "library/game_installation.h"
#include "library/game_pages.h"
#include "library/source_icons.h"
#include "library/voting_panel.h"

namespace morvane {

class WrapperCreation;

enum class Shift { up, held };
enum class LibraryLayout { grid, list };

class NSDescriptionView {
  public:
    /// A game as actions take it: theirs for as long as they need it, whatever the page shows.
    using Game = GamePointer;

    struct MenuItem {
        std::string title;
        bool enabled = true;
        std::function<void()> action;
    };
    /// What the page shows.
    struct Page {
        bool hasGame = false;
        std::string name;
        std::string appID;  ///< a line of its own in the list layout
        std::optional<ImageData> icon;
        StyledText description;
        double descriptionSize = 12;  ///< points
        std::string actionTitle;      ///< in upper case
        std::vector<SourceIcon> sources;
        bool canBeRated = false;
        std::array<double, 4> stars{5, 5, 5, 5};  ///< ATi/AMD, NVIDIA, Intel Iris, Intel HD
    };
    /// A window with a page in it.
    struct HtmlWindow {
        std::string name;  ///< "Trailer" or "Instructions"
        std::string html;
        std::string link;  ///< what the page embeds; empty for a page of its own
    };
    struct Callbacks {
        std::function<void()> pageChanged;
        std::function<void()> actionTitleChanged;
        std::function<void()> selectPage;                   ///< shows the page's tab
        std::function<void(const HtmlWindow&)> showWindow;  ///< opens the window, or fills it anew
        /// Modal, until `votingPanelClosed`. Who calls it keeps it.
        std::function<void(const std::shared_ptr<NSVotingPanel>&)> showVotingPanel;
        std::function<void()> votingPanelClosed;
        std::function<void(const std::string&)> addPort;     ///< to the library
        std::function<void(const std::string&)> removePort;  ///< from the library
        std::function<void(const std::string&)> missingApp;  ///< asks what became of it
        std::function<void(const std::string&)> properties;  ///< opens the properties editor
        /// The item at that path runs for as long as what it gives is kept. Any thread keeps it.
        std::function<std::shared_ptr<void>(const std::string&)> runs;
        std::function<void(int)> gameEnded;  ///< with the exit status of its run
    };

    /// A page without a game. It tells of nothing before the first operation.
    NSDescriptionView(LibraryLayout layout, std::shared_ptr<NSProgressView> progress, Callbacks callbacks);
    ~NSDescriptionView();
    NSDescriptionView(const NSDescriptionView&) = delete;
    NSDescriptionView& operator=(const NSDescriptionView&) = delete;

    [[nodiscard]] LibraryLayout layout() const { return layout_; }
    [[nodiscard]] const Page& page() const { return page_; }
    /// The shown game; null when there is none.
    [[nodiscard]] Game gameData() const { return gameData_; }
    [[nodiscard]] std::optional<std::string> selectedGamePath() const;

    /// A click on a line of the catalogue: its entry is looked up, or built in the background, and shown.
    void openCatalogueLine(const CatalogueLine& line);
    /// A click on a port of which only the ID is known: its line is asked for first.
    void openCatalogueID(std::int64_t id);
    /// A click on an item of the library.
    void openLocalItem(const std::string& path);
    /// Fills the page by the main queue and calls the block there. Icon and ratings follow from the
    /// background, where somebody is told of the page's changes.
    void setGameData(Game game, std::function<void()> blockInTheEnd);
    void setNullGameData();
    /// The item is gone from the library: a page that shows it, or something that has gone with it, shows
    /// no game any more.
    void itemRemoved(const std::string& path);
    /// Re-titles the action button.
    void flagsChanged(Shift shift);
    /// The "More" menu of a catalogue entry; the item's menu of a local one. Its actions are for the game
    /// that is shown now, and follow by the main queue.
    [[nodiscard]] std::vector<MenuItem> moreMenu() { return menuOf(gameData_); }
    /// The same for any game.
    [[nodiscard]] std::vector<MenuItem> menuOf(const Game& game);
    /// A click on the action button: plays a local item, and installs, buys or saves a catalogue entry.
    void clickAction();

    // What the page's game can be asked for.
    [[nodiscard]] GameInstallation& installation() { return installation_; }
    [[nodiscard]] GameActions& actions() { return actions_; }
    [[nodiscard]] GamePages& pages() { return pages_; }

    // For those three.
    /// Holds nothing once the page is gone: work that ends then finds nobody.
    using Handle = std::shared_ptr<NSDescriptionView*>;
    [[nodiscard]] const Handle& handle() const { return self_; }
    /// Later on the main thread, unless the page is gone by then.
    static void onPage(const Handle& self, std::function<void(NSDescriptionView&)> work);
    [[nodiscard]] const Callbacks& callbacks() const { return callbacks_; }
    [[nodiscard]] const std::shared_ptr<NSProgressView>& progress() const { return progress_; }
    [[nodiscard]] Shift shift() const { return shift_; }
    void titleActionButton();
    void titleActionButtonWith(const std::string& title);

  private:
    /// Shows the entry of that ID, which is built from the line where it is not known yet. The line may be
    /// asked for: it is called in the background.
    void openEntry(std::int64_t id, std::function<Result<std::optional<CatalogueLine>>()> line);
    void fillPage();
    [[nodiscard]] static Page pageWithoutGame();
    /// What may take long: the grid's trailer, the icon and the ratings.
    void loadDetails(Game game);

    const LibraryLayout layout_;
    const std::shared_ptr<NSProgressView> progress_;
    const Callbacks callbacks_;
    Game gameData_;
    Page page_;
    Shift shift_ = Shift::up;
    unsigned clicks_ = 0;  ///< on items; the last one is what is shown in the end
    const Handle self_;
    GameInstallation installation_;
    GameActions actions_;
    GamePages pages_;
};

}  // namespace morvane
