// building/needed_resources.h: the rows of the needed-resources window. Main thread, but for the fix.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "foundation/progress_view.h"

namespace morvane {

/// State of the window; a front end draws it.
class NSNeededResourcesWindow {
  public:
    enum class Status { missing = 0, fine = 1, unknown = 2 };
    struct Row {
        std::string title;
        Status status;
        std::string symbol;  ///< "✕", "✓" or "?"
        std::string action;  ///< "Nothing to do" or "Double-click to Fix"
    };

    explicit NSNeededResourcesWindow(std::shared_ptr<NSProgressView> progressWindow);

    /// Worker thread: asks the site for the newest version.
    void reloadContents();
    [[nodiscard]] static Status caskeryWrapperIsUpdated();
    [[nodiscard]] static bool isHomeFolderWritable();
    [[nodiscard]] static std::string symbolForNumber(Status status);
    /// A double click on a row: fixes it when it is missing. Worker thread.
    void fixRow(std::size_t row);

    [[nodiscard]] const std::vector<Row>& rows() const { return rows_; }

  private:
    std::shared_ptr<NSProgressView> progressWindow_;
    std::vector<Row> rows_;
};

}  // namespace morvane
