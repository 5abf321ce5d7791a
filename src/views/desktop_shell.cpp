#include "views/desktop_shell.h"

#include <QApplication>

#include "views/background.h"
#include "views/desktop_interface.h"
#include "views/game_page.h"
#include "views/library_page.h"
#include "views/main_window.h"
#include "views/rankings_page.h"
#include "views/theme.h"
#include "views/tray.h"
#include "views/web_page.h"

namespace morvane::views {

DesktopShell::DesktopShell(DesktopInterface& interface) : interface_(interface) {}

DesktopShell::~DesktopShell() = default;

void DesktopShell::setMainWindow(MainWindow* window) {
    window_ = window;
    if (window == nullptr) tray_.reset();
}

void DesktopShell::createMenulet(const Menulet& menulet) {
    if (window_ == nullptr) return;
    tray_ = std::make_unique<Tray>(window_->app(), menulet,
                                   Tray::Actions{.open = [this] { bringMainWindowToFront(); },
                                                 .library =
                                                     [this] {
                                                         window_->showLibrary(localTab);
                                                         bringMainWindowToFront();
                                                     },
                                                 .quit = [this] { window_->quit(); }});
}

void DesktopShell::openLink(const std::string& link) const {
    if (link_) link_(link);
}

void DesktopShell::setURLHandler(const std::function<void(const std::string&)>& handler) {
    link_ = handler;
}

void DesktopShell::setNotificationHandler(const std::function<void(const std::string&)>& handler) {
    interface_.setNotificationHandler(handler);
}

void DesktopShell::setWindowAppearance(WindowAppearance appearance) {
    using theme::Scheme;
    theme::apply(*qApp, appearance == WindowAppearance::system  ? Scheme::system
                        : appearance == WindowAppearance::light ? Scheme::light
                                                                : Scheme::dark);
}

void DesktopShell::setThemeImage(ThemeImage image, const std::string& path) {
    if (window_ == nullptr) return;
    // The pictures that come with the program are of one scheme: each scheme has its own look instead.
    inBackground(
        "app.morvane.themeImage", window_, [image] { return NSPreferencesView::isOriginalThemeImage(image); },
        [this, image, path](bool isOriginal) {
            const std::string picture = isOriginal ? "" : path;
            onWindow([&](MainWindow& window) {
                if (image == ThemeImage::window) window.libraryPage().setBackground(picture);
                if (image == ThemeImage::actionButton) window.gamePage().setButtonPicture(picture);
                if (image == ThemeImage::bottomButton) window.libraryPage().setButtonPicture(picture);
            });
        });
}

void DesktopShell::loadWebPage(WebView web, const std::string& address) {
    onWindow([&](MainWindow& window) { window.webPage(web).load(address); });
}

void DesktopShell::showHtml(WebView web, const std::string& html) {
    onWindow([&](MainWindow& window) { window.webPage(web).showHtml(html); });
}

void DesktopShell::showMorvaneTab(MorvaneTab tab) {
    onWindow([tab](MainWindow& window) { window.showTab(tab); });
}

void DesktopShell::showGamePage() {
    onWindow([](MainWindow& window) { window.showTab(MorvaneTab::library); });
}

void DesktopShell::bringMainWindowToFront() {
    onWindow([](MainWindow& window) { window.bringToFront(); });
}

void DesktopShell::changed(ShownPart part) {
    if (window_ == nullptr) return;
    switch (part) {
        case ShownPart::library:
            return window_->libraryPage().refresh();
        case ShownPart::gamePage:
            return window_->gamePage().refresh();
        case ShownPart::actionTitle:
            return window_->gamePage().refreshActionTitle();
        case ShownPart::preferences:
        case ShownPart::appsFolders:
            return window_->preferencesChanged();
        case ShownPart::properties:
            return window_->propertiesChanged();
        case ShownPart::dock:
            return window_->libraryPage().updateShelf();
        case ShownPart::webViewZoom:
            for (const WebView web : {WebView::news, WebView::forum}) window_->webPage(web).reloadTextZoom();
            return;
    }
}

void DesktopShell::libraryRowChanged(std::size_t row) {
    onWindow([row](MainWindow& window) { window.libraryRowChanged(row); });
}

void DesktopShell::rankingsChanged(NSRankingList::TableType type) {
    onWindow([type](MainWindow& window) { window.rankingsPage().refresh(type); });
}

void DesktopShell::showWindow(const NSDescriptionView::HtmlWindow& video) {
    onWindow([&](MainWindow& window) { window.showVideo(video); });
}

void DesktopShell::showVotingPanel(const std::shared_ptr<NSVotingPanel>& panel) {
    onWindow([&](MainWindow& window) { window.showVotingPanel(panel); });
}

void DesktopShell::votingPanelClosed() {
    onWindow([](MainWindow& window) { window.votingPanelClosed(); });
}

void DesktopShell::showProperties(const std::shared_ptr<NSPropertiesWindow>& properties) {
    onWindow([&](MainWindow& window) { window.showProperties(properties); });
}

void DesktopShell::propertiesClosed() {
    onWindow([](MainWindow& window) { window.propertiesClosed(); });
}

void DesktopShell::beep() {
    QApplication::beep();
}

}  // namespace morvane::views
