// views/main_window.h: draws the application's main window: library, game page, progress (`AppDelegate`). Main thread.
#pragma once

#include <QMainWindow>
#include <memory>

#include "app/app_delegate.h"

class QSplitter;

namespace morvane::views {

class GamePage;
class LibraryPage;
class ProgressPanel;

class MainWindow : public QMainWindow {
    Q_OBJECT
  public:
    /// Place, size and looks are as they were last. The application must outlive it.
    MainWindow(AppDelegate& app, std::shared_ptr<NSProgressView> progress);

    [[nodiscard]] AppDelegate& app() { return app_; }
    [[nodiscard]] ProgressPanel& progressPanel() { return *panel_; }

    void bringToFront();
    void libraryChanged();
    void gamePageChanged();
    void actionTitleChanged();
    /// Asks for the stars of a port, and votes.
    void rate(const std::shared_ptr<NSVotingPanel>& panel);

  protected:
    /// A running installation is asked about first.
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void makeMenus();
    void restoreLooks();
    void storeLooks() const;

    AppDelegate& app_;
    const std::shared_ptr<NSProgressView> progress_;
    QSplitter* splitter_;
    LibraryPage* library_;
    GamePage* game_;
    ProgressPanel* panel_;
};

}  // namespace morvane::views
