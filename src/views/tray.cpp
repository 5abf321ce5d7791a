#include "views/tray.h"

#include <QFontMetrics>
#include <algorithm>

#include "views/labels.h"
#include "views/qt_text.h"

namespace morvane::views {
namespace {

QIcon iconOf(const Menulet& menulet) {
    // In colours of its own: a tray may be dark in a light session.
    QIcon icon = QIcon::fromTheme("app.morvane.Morvane");
    if (!icon.isNull()) return icon;
    icon = QIcon(toQt(menulet.image));
    icon.setIsMask(true);
    return icon;
}

}  // namespace

Tray::Tray(AppDelegate& app, const Menulet& menulet, Actions actions)
    : app_(app), menulet_(menulet), actions_(std::move(actions)), item_(iconOf(menulet)) {
    item_.setToolTip(toQt(menulet.tooltip));
    connect(&menu_, &QMenu::aboutToShow, this, &Tray::fill);
    connect(&item_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) actions_.open();
    });
    // Trays that read a menu before they say that they open it find one.
    fill();
    item_.setContextMenu(&menu_);
    item_.show();
}

void Tray::fill() {
    menu_.clear();
    for (const std::string& title : menulet_.titles) menu_.addAction(literalTitle(title))->setEnabled(false);
    menu_.addSeparator();
    const auto titles = app_.actions().applicationDockMenu();
    constexpr int widest = 320;
    const QFontMetrics metrics(menu_.font());
    for (std::size_t tag = 0; tag < std::min(titles.size(), mostGames); ++tag) {
        const QString shortened = metrics.elidedText(literalLine(titles[tag]), Qt::ElideRight, widest);
        menu_.addAction(literalTitle(fromQt(shortened)), this,
                        [this, tag, title = titles[tag]] { launch(tag, title); });
    }
    if (titles.size() > mostGames) menu_.addAction(shown("All games…"), this, [this] { actions_.library(); });
    menu_.addSeparator();
    menu_.addAction(shown("Open Morvane"), this, [this] { actions_.open(); });
    menu_.addAction(shown("Quit"), this, [this] { actions_.quit(); });
}

void Tray::launch(std::size_t tag, const std::string& title) {
    const auto titles = app_.actions().applicationDockMenu();
    if (tag >= titles.size() || titles[tag] != title) {
        const auto moved = std::ranges::find(titles, title);
        if (moved == titles.end()) return actions_.library();
        tag = static_cast<std::size_t>(moved - titles.begin());
    }
    app_.actions().launchLocalGameAction(tag);
}

}  // namespace morvane::views
