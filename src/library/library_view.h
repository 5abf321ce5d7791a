// library/library_view.h: what a library view shows and what a click, a key or a drag in it does, in the grid
// and in the list alike. Main thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "library/apps_array.h"
#include "library/item_states.h"
#include "library/row_icons.h"

namespace morvane {

/// An entry of a menu; one with entries of its own opens them.
struct LibraryMenuItem {
    std::string title;
    bool marked = false;
    std::function<void()> action = {};
    std::vector<LibraryMenuItem> items = {};
};

class LibraryView {
  public:
    struct Callbacks {
        /// The rows have changed.
        std::function<void()> reload;
        /// The icon of a row has come, or the row has changed otherwise.
        std::function<void(std::size_t row)> rowChanged = {};
        /// Installs a port description that the user chose.
        std::function<void(const std::string& cki)> installCkiFile;
        /// A local item has gone from the library.
        std::function<void(const std::string& path)> removed = {};
    };
    struct Row {
        std::string title;
        bool isNew = false;  ///< marked with the sticker of new ports
        std::string key;  ///< what the row is known by, wherever it stands: a path, or a line's ID and name
        ItemState state = {};  ///< of an item, as far as it has been looked at
        bool operator==(const Row&) const = default;
    };

    /// Shows nothing before `showTab`. Both must outlive the view.
    LibraryView(NSAppsArray& apps, Callbacks callbacks);
    LibraryView(const LibraryView&) = delete;
    LibraryView& operator=(const LibraryView&) = delete;

    /// Shows the tab (`localTab` or `catalogueTab`) as far as it is known, and again once its
    /// list is loaded.
    void showTab(std::int64_t tabType);
    void search(const std::string& keywords);
    [[nodiscard]] const std::string& keywords() const { return keywords_; }
    [[nodiscard]] std::vector<Row> rows() const;
    [[nodiscard]] std::size_t numberOfRows() const;
    /// Of a row that is there.
    [[nodiscard]] Row row(std::size_t row) const;
    /// The icon of a row; null while it is not known, and for none. To be asked for the rows that are drawn:
    /// it is fetched then, and told.
    [[nodiscard]] std::shared_ptr<const ImageData> icon(std::size_t row);
    /// The item or line of a row; nothing for a row of the other tab, or none.
    [[nodiscard]] const LocalItem* localItem(std::size_t row) const;
    [[nodiscard]] const CatalogueLine* catalogueLine(std::size_t row) const;

    /// The local tab's orders, or the catalogue's "Refresh List".
    [[nodiscard]] std::vector<LibraryMenuItem> contextMenu();
    /// Whether the rows are the whole local library.
    [[nodiscard]] bool canDrag() const;
    /// A dragged row, which is then at the index `to`. Only where `canDrag`.
    void drag(std::size_t from, std::size_t to);
    /// The add action.
    void add();
    /// The remove action of a local item: the question, then the removal from the list.
    void remove(const std::string& path);
    /// The item goes from the list, without a question.
    void forget(const std::string& path);
    /// The question for a local item that is gone.
    void missing(const std::string& path);
    /// Adds an item to the library, by the main queue.
    void addPort(const std::string& path);
    /// "Refresh List": forgets the catalogue's list and entries and loads the list again.
    void refreshList();
    /// Makes the rows again, after the list has changed.
    void reload();

    /// Takes over what other processes have made of the list, looks in the background what has become of the local
    /// items, and tells of the rows that have changed.
    void lookAtItems();
    /// As `ItemStates::runs`.
    [[nodiscard]] std::shared_ptr<void> runs(const std::string& path) { return states_.runs(path); }
    [[nodiscard]] bool isRunning(const std::string& path) const { return states_.of(path).isRunning; }

  private:
    [[nodiscard]] NSAppsArray::Completion reloading();
    void makeRows();
    void tellRowChanged(const std::string& key) const;

    NSAppsArray& apps_;
    Callbacks callbacks_;
    std::int64_t tabType_ = localTab;
    std::string keywords_;
    RowIcons icons_;
    ItemStates states_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace morvane
