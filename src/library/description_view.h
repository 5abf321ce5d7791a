// library/description_view.h: the page of one game: what it shows, and everything that its buttons and menus
// do.
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
#include "library/game_data.h"
#include "library/voting_panel.h"
#include "platform/private_folder.h"

namespace morvane {

class WrapperCreation;

enum class Shift { up, held };
enum class LibraryLayout { grid, list };

class NSDescriptionView {
  public:
    /// A game as actions take it: theirs for as long as they need it, whatever the page shows.
    using Game = std::shared_ptr<NSGameData>;

    /// A button for one source of the game.
    struct SourceIcon {
        std::string source;  ///< its tooltip
        std::string image;   ///< a resource's path; "/" for the icon of the start-up disk
        bool operator==(const SourceIcon&) const = default;
    };
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
        std::function<void(int)> gameEnded;                  ///< with the exit status of its run
    };

    /// A page without a game. It tells of nothing before the first operation.
    NSDescriptionView(LibraryLayout layout, std::shared_ptr<NSProgressView> progress, Callbacks callbacks);
    ~NSDescriptionView();
    NSDescriptionView(const NSDescriptionView&) = delete;
    NSDescriptionView& operator=(const NSDescriptionView&) = delete;

    [[nodiscard]] const Page& page() const { return page_; }
    /// The shown game; null when there is none.
    [[nodiscard]] Game gameData() const { return gameData_; }
    [[nodiscard]] std::optional<std::string> selectedGamePath() const;

    // Filling (description_view.cpp)
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
    [[nodiscard]] static std::string actionButtonInstallStringForGameData(const NSGameData& game);
    [[nodiscard]] static std::string actionButtonInstallStringForGameWithID(std::int64_t id,
                                                                            std::int32_t dependencyID);
    [[nodiscard]] static std::vector<SourceIcon> setSourceIcons(const std::vector<std::string>& sources);
    void openLinkForSourceButton(const std::string& source) const;
    /// The "More" menu of a catalogue entry; the item's menu of a local one. Its actions are for the game
    /// that is shown now, and follow by the main queue.
    [[nodiscard]] std::vector<MenuItem> moreMenu();

    // Getting a port (game_installation.cpp)
    /// A click on the action button: plays a local item, and installs, buys or saves a catalogue entry.
    void clickAction();
    void installGame(const Game& game);
    void runOrInstallGame(const Game& game);
    void chooseDownloadSource(const Game& game, const std::optional<std::string>& target = {});
    bool shouldInstallGameOrOpenLinkOfGame(const Game& game, const std::string& source);
    static void openBuyingLinkForNativeGame(const Game& game);
    /// Asks where to, and for the source.
    void downloadGameCKI(const Game& game);
    /// Asks where to, unless `target` says it.
    void downloadCkiOfSourceWithName(const Game& game, const std::string& source,
                                     const std::optional<std::string>& target = {});
    /// A port on its way into a wrapper. The folder goes with the object.
    struct DownloadedCki {
        files::PrivateFolder folder;
        std::string path;
    };
    /// The place of the source's port in a fresh folder; nothing after a reported failure.
    [[nodiscard]] static std::optional<DownloadedCki> pathForDownloadedCkiOfSource(const std::string& source);
    /// Ends in "/".
    [[nodiscard]] static std::string defaultGamesFolder();
    /// A wrapper of the library or of the apps folders; none for IDs below 2.
    [[nodiscard]] static std::optional<std::string> validPortWithGameID(std::int64_t id);

    // Actions on an installed game (game_actions.cpp)
    void playGame(const Game& game);
    void updateAndRunWrapper(const std::string& path);
    /// Runs it afterwards, unless the user has cancelled the update.
    void updateWrapper(const std::string& wrapper);
    void runWrapper(const std::string& wrapper, const std::string& binary);
    void debugGame(const Game& game);
    static void runDebugModeOfWrapper(const std::string& wrapper);
    /// Asks, and returns at once.
    void forceCloseGame(const Game& game);
    /// Asks, and deletes in the background. The page shows no game any more once it is gone.
    void removeGame(const Game& game);
    void showInFinder(const Game& game);
    void gameProperties(const Game& game);
    void openC_Drive(const Game& game);
    void launchCaskery(const Game& game);
    /// `runSelectedWrapperWithFlag:`, and the four tools.
    static void runSelectedWrapperWithFlag(const Game& game, const std::string& flag);
    void taskManager(const Game& game) { runSelectedWrapperWithFlag(game, "CKS-taskmgr"); }
    void commandPrompt(const Game& game) { runSelectedWrapperWithFlag(game, "CKS-cmd"); }
    void registryEditor(const Game& game) { runSelectedWrapperWithFlag(game, "CKS-regedit"); }
    void wineConfiguration(const Game& game) { runSelectedWrapperWithFlag(game, "CKS-winecfg"); }
    /// Asks, and installs in the background. The completion comes on the main thread: whether something was
    /// installed, as far as that is known.
    void installModPatch(const Game& game);
    static void installModPatchAtWrapper(const std::string& wrapper,
                                         std::function<void(bool installed)> completion);
    /// Any thread; blocks. A file over a folder, a folder over a file and an item onto itself are refused
    /// with a message; nothing is deleted then. Whether everything is there but for what the user has
    /// declined.
    static bool copyFiles(const std::vector<std::string>& paths, const std::string& folder);

    // Watching and rating (game_actions.cpp)
    /// The panel comes once the graphics card is known; it takes the place of one that is open.
    void rateGame(const Game& game);
    void playTrailer(const Game& game);
    void watchInstructions(const Game& game);
    void watchInstructionsForSource(const Game& game, const std::string& source);
    void showCrossOverAlternative(const Game& game);
    /// The size of the view in which pages play, in points; 0 by 0 while there is none.
    void setTrailerViewSize(double width, double height);

  private:
    /// Later on the main thread, unless the page is gone by then.
    static void onPage(const std::shared_ptr<NSDescriptionView*>& self,
                       std::function<void(NSDescriptionView&)> work);
    /// Shows the entry of that ID, which is built from the line where it is not known yet. The line may be
    /// asked for: it is called in the background.
    void openEntry(std::int64_t id, std::function<Result<std::optional<CatalogueLine>>()> line);
    void fillPage();
    [[nodiscard]] static Page pageWithoutGame();
    /// What may take long: the grid's trailer, the icon and the ratings.
    void loadDetails(Game game);
    void titleActionButton();
    void downloadCkiFromSource(const Game& game, const std::string& source, const std::string& target);
    /// A worker. What is to be replaced is back in its place after a failure.
    static bool installCkiAtPath(const std::string& cki, const std::string& target, const NSGameData& game,
                                 WrapperCreation& creation);
    void openVotingPanel(const NSGameData& game, const std::string& card);
    void closeVotingPanel();
    void showWindow(const std::string& name, const std::string& html, const std::string& link) const;

    const LibraryLayout layout_;
    const std::shared_ptr<NSProgressView> progress_;
    const Callbacks callbacks_;
    Game gameData_;
    std::shared_ptr<NSVotingPanel> votingPanel_;
    unsigned votingPanels_ = 0;  ///< opened so far
    Page page_;
    Shift shift_ = Shift::up;
    unsigned clicks_ = 0;  ///< on items; the last one is what is shown in the end
    double trailerWidth_ = 0, trailerHeight_ = 0;
    /// Holds nothing once the page is gone: work that ends then finds nobody.
    const std::shared_ptr<NSDescriptionView*> self_;
};

/// The "%@ Link" of a source in a description; "GOG" is found under "Gog Link" as well. Nothing when it is
/// empty or missing, and when it is no http or https link.
[[nodiscard]] std::optional<std::string> linkOfSource(const NSGameData& game, const std::string& source);

/// The sources that the game can be installed from: "Other" when its entry names none.
[[nodiscard]] std::vector<std::string> sourcesOf(const NSGameData& game);

/// Which wrappers an add-on can be installed into (`NSValidPortDelegate`, made by `allocAndInitWithID:`).
class NSValidPortDelegate {
  public:
    explicit NSValidPortDelegate(std::int64_t id) : id_(id) {}
    bool anyCaskeryPortAllowed = false;
    [[nodiscard]] bool doesPathMatches(const std::string& path) const;
    /// Whether a file panel offers the path: folders can be entered.
    [[nodiscard]] bool shouldEnable(const std::string& path) const;

  private:
    std::int64_t id_;
};

}  // namespace morvane
