// views/tray.h: draws the application's item in the tray: the games of the Dock's menu, open, quit (`AppDelegate`, `Menulet`).
// Main thread.
//
// Where the session has no tray nothing is shown; it appears when a tray does.
#pragma once

#include <QMenu>
#include <QSystemTrayIcon>
#include <cstddef>
#include <functional>
#include <string>

#include "app/app_delegate.h"

namespace morvane::views {

class Tray : public QObject {
    Q_OBJECT
  public:
    /// A longer menu leaves the screen.
    static constexpr std::size_t mostGames = 30;

    struct Actions {
        std::function<void()> open;     ///< the main window, to the front
        std::function<void()> library;  ///< the same with the list of games
        std::function<void()> quit;
    };
    /// The application must outlive it. Shown from now on.
    Tray(AppDelegate& app, const Menulet& menulet, Actions actions);

    /// What the item opens; its games are those of the moment in which it is opened.
    [[nodiscard]] QMenu& menu() { return menu_; }

  private:
    void fill();
    /// The list may have changed since the menu was opened: a game is only started by its name.
    void launch(std::size_t tag, const std::string& title);

    AppDelegate& app_;
    const Menulet menulet_;
    const Actions actions_;
    QMenu menu_;
    QSystemTrayIcon item_;
};

}  // namespace morvane::views
