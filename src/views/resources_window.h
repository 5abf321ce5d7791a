// views/resources_window.h: draws what ports need, and whether it is there (`NSNeededResourcesWindow`). Main thread.
#pragma once

#include <QDialog>
#include <memory>

#include "building/needed_resources.h"

class QPushButton;
class QTableWidget;

namespace morvane::views {

class ResourcesWindow : public QDialog {
    Q_OBJECT
  public:
    ResourcesWindow(std::shared_ptr<NSProgressView> progress, QWidget* parent);

  private:
    using Rows = std::vector<NSNeededResourcesWindow::Row>;

    void look();
    void fix(std::size_t row);
    /// Runs the work with the state, which nobody else touches meanwhile, and shows its rows then.
    void work(const std::function<void(NSNeededResourcesWindow&)>& task);
    void showRows(const Rows& rows);

    std::shared_ptr<NSNeededResourcesWindow> state_;
    QTableWidget* table_;
    QPushButton* fix_;
    bool isWorking_ = false;
};

}  // namespace morvane::views
