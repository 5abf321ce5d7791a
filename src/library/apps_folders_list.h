// library/apps_folders_list.h: the settings pane of the apps folders. Main thread.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "library/apps_array.h"

namespace morvane {

/// A key press as the pane sees it.
struct KeyPress {
    char32_t character = 0;  ///< 127: Delete
    int keyCode = 0;         ///< 24: "=", 27: "-"
    bool command = false;
};

class NSAppsFoldersList {
  public:
    struct Callbacks {
        std::function<void()> changed;  ///< rows, selection or check box
        std::function<void()> beep;
        std::function<void()> libraryLoaded;  ///< the library was reset and scanned again
    };

    /// Opens the pane: writes missing defaults. The library must outlive it.
    NSAppsFoldersList(NSAppsArray& apps, Callbacks callbacks);

    /// The folders, each ending in "/".
    [[nodiscard]] const std::vector<std::string>& rows() const { return rows_; }
    /// The selected rows, ascending.
    [[nodiscard]] const std::vector<std::size_t>& selection() const { return selection_; }
    void select(std::vector<std::size_t> rows);

    /// The check box "Automatic Folder Save".
    [[nodiscard]] static bool savesAutomatically();
    void setSavesAutomatically(bool on);

    // Each of these stores the rows at once; a failure is told.
    /// A click that edits the row: asks for a folder.
    void editRow(std::size_t row);
    /// Inserts the applications folder at the first selected row, or at the end.
    void addRow();
    /// Deletes the selected rows and selects the one before the first of them.
    void removeSelectedRows();
    /// Whether the key did something, a beep included. `textFieldHasFocus` takes Delete away.
    bool keyDown(const KeyPress& key, bool textFieldHasFocus);
    /// Asks, then forgets the library and scans the apps folders again.
    void resetLocalApps();

  private:
    void notify() const;

    NSAppsArray& apps_;
    Callbacks callbacks_;
    std::vector<std::string> rows_;
    std::vector<std::size_t> selection_;
};

}  // namespace morvane
