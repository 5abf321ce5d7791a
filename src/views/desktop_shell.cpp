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
                                                         window_->showLibrary(NSAppsArray::localTab);
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
            });
        });
}

void DesktopShell::loadWebPage(WebView web, const std::string& address) {
    onWindow([&](MainWindow& window) { window.webPage(web).load(address); });
}

void DesktopShell::showHtml(WebView web, const std::string& html) {
    onWindow([&](MainWindow& window) { window.webPage(web).showHtml(html); });
}

void DesktopShell::webViewZoomChanged() {
    onWindow([](MainWindow& window) {
        for (const WebView web : {WebView::news, WebView::forum}) window.webPage(web).reloadTextZoom();
    });
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

void DesktopShell::libraryChanged() {
    onWindow([](MainWindow& window) { window.libraryPage().refresh(); });
}

void DesktopShell::libraryRowChanged(std::size_t row) {
    onWindow([row](MainWindow& window) { window.libraryRowChanged(row); });
}

void DesktopShell::gamePageChanged() {
    onWindow([](MainWindow& window) { window.gamePage().refresh(); });
}

void DesktopShell::actionTitleChanged() {
    onWindow([](MainWindow& window) { window.gamePage().refreshActionTitle(); });
}

void DesktopShell::rankingsChanged(NSRankingList::TableType type) {
    onWindow([type](MainWindow& window) { window.rankingsPage().refresh(type); });
}

void DesktopShell::preferencesChanged() {
    onWindow([](MainWindow& window) { window.preferencesChanged(); });
}

void DesktopShell::appsFoldersChanged() {
    preferencesChanged();
}

void DesktopShell::updateDockInGridView() {
    onWindow([](MainWindow& window) { window.libraryPage().updateShelf(); });
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

void DesktopShell::propertiesChanged() {
    onWindow([](MainWindow& window) { window.propertiesChanged(); });
}

void DesktopShell::propertiesClosed() {
    onWindow([](MainWindow& window) { window.propertiesClosed(); });
}

void DesktopShell::beep() {
    QApplication::beep();
}

}  // namespace morvane::views
