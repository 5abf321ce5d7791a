// library/apps_array.h: the local library beside the catalogue list, and the list that is shown.
//
// Main thread, but for the class operations (any thread). A completion is called once, on the main queue
// unless said; none is called once the object is gone, whose destruction also ends a scan that still runs.
//
// The stored library (the setting "App List") may be changed by several processes at once: an operation
// changes the list as it is stored at that moment, under the lock of the settings, and takes over what others
// have added and removed. A list that cannot be stored is reported, and stays in memory.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/text.h"
#include "library/catalogue_line.h"
#include "library/local_items.h"

namespace morvane {

/// As the settings have them.
inline constexpr std::int64_t orderByName = 0, orderBySize = 1;
inline constexpr std::int64_t localTab = 0, catalogueTab = 1;

enum class SavingOrder { no, yes };
class NSAppsArray {
  public:
    using Completion = std::function<void()>;
    /// What is shown: items of the local library or lines of the catalogue.
    using Shown = std::variant<std::vector<LocalItem>, std::vector<CatalogueLine>>;

    NSAppsArray() = default;
    ~NSAppsArray();
    NSAppsArray(const NSAppsArray&) = delete;
    NSAppsArray& operator=(const NSAppsArray&) = delete;

    /// `array`, `localAppsArray`, `serverAppsArray`, `tabType` (1 for the catalogue, any other: local).
    [[nodiscard]] const Shown& array() const { return array_; }
    [[nodiscard]] const std::vector<LocalItem>& localAppsArray() const { return local_; }
    [[nodiscard]] const std::vector<CatalogueLine>& serverAppsArray() const { return server_; }
    [[nodiscard]] std::int64_t tabType() const { return tabType_; }
    /// Whether the local library has been loaded or scanned.
    [[nodiscard]] bool isLoaded() const { return loaded_; }

    /// With a stored list the completion runs at once; else after the first scan. A list that is loaded takes over
    /// what other processes have changed.
    void loadLocalAppsBlock(Completion completion);
    /// A scan that runs already is joined. Each real folder is walked once, bundles that end in ".app" are
    /// not entered; real folders go before links, so that an item is found where it lies. What was stored
    /// meanwhile stays in the list.
    void loadLocalAppsForTheFirstTimeBlock(Completion completion);

    /// Looks into the apps folders again. An item that was moved there is found again, and keeps its place in
    /// the list, as do all; links beside a wrapper follow it. New items come at the end, by name, or into the
    /// order that is kept.
    void scanAgain(Completion completion);

    void reorderLocalAppsArrayByNameWithBlock(Completion completion);
    void reorderLocalAppsArrayBySizeWithBlock(Completion completion);
    /// Any other order than the two does nothing, and calls no completion.
    void reorderLocalAppsArrayBy(std::int64_t order, SavingOrder saving, Completion completion);
    static void disableLocalAppsArrayAutoOrder();
    /// The order that is kept ("Auto-order Apps List"), if any.
    [[nodiscard]] static std::optional<std::int64_t> autoOrder();
    void saveLocalAppList();

    // The following load the library first when it is not yet: with a stored list they run at once.
    /// With an automatic order the completion comes later, on the main queue; else at once.
    void addLocalPort(const std::string& path, Completion completion);
    /// Completion at once. Of something that is gone from the disk, what lay inside it leaves the list too,
    /// and links that led into it.
    void removeLocalPort(const std::string& path, Completion completion);
    void refreshLocalPortAtPath(const std::string& path, CustomEXE isCustomEXE);

    /// Nothing for an index that is not in the list as loaded.
    void moveLocalPortAtIndex(std::size_t from, std::size_t to);

    /// `caskeryWrappersInLocalTab`: the items that can run a Windows program.
    [[nodiscard]] std::vector<LocalItem> caskeryWrappersInLocalTab() const;

    /// `array` is made at once.
    void loadToArrayAppsFromTab(std::int64_t tabType, std::string_view keywords, Completion completion);

    /// Blocks nothing; a list that is loaded is kept, and a load that goes on is joined. Of the lines that are none,
    /// the first ten are reported.
    void loadServerAppsBlock(Completion completion);
    /// Of the last load; `loaded` also with an empty list.
    enum class CatalogueState { notAsked, loading, loaded, unreachable };
    [[nodiscard]] CatalogueState catalogueState() const { return catalogueState_; }
    void clearServerAppsArray() { server_.clear(); }

    /// Loads the library when it is not yet. The wrappers are stopped side by side in the background, then whatever
    /// else says "wine".
    void killAllCaskeryProcessesFromLocalApps();

  private:
    using List = std::vector<LocalItem>;

    /// Runs the work once the library is loaded: at once, or after the first scan.
    void whenLoaded(const std::function<void()>& work);
    /// Changes the list as it is stored now, stores it and takes it over.
    void change(const std::function<void(List&)>& edit);
    /// Sorts a copy on a queue of that name and brings the list into its order.
    void reorder(const std::string& queue, const std::function<void(List&)>& sort, Completion completion);
    void takeScanned(List found);
    void takeScannedAgain(const List& found, Completion completion);
    /// Brings the list into the order that is kept and stores it; without one the completion runs at once.
    void keepOrder(Completion completion);

    Shown array_;
    List local_;
    List stored_;  ///< the list as it was last read from or written to the settings
    std::vector<CatalogueLine> server_;
    std::vector<MVString::SearchedName> searched_;  ///< the names that were searched last, by their places
    std::int64_t tabType_ = localTab;
    bool loaded_ = false;
    bool scanning_ = false;
    CatalogueState catalogueState_ = CatalogueState::notAsked;
    std::vector<Completion> afterScan_, afterCatalogue_;
    /// False once the object is gone: work that still runs then ends, and touches nothing.
    std::shared_ptr<std::atomic<bool>> alive_ = std::make_shared<std::atomic<bool>>(true);
};

/// Tells the user, once, of settings that were damaged and put aside.
void tellOfDamagedSettings();

}  // namespace morvane
