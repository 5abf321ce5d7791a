#include "views/desktop_shell.h"

#include <QApplication>

#include "platform/host.h"
#include "views/desktop_interface.h"
#include "views/main_window.h"
#include "views/theme.h"

namespace morvane::views {

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
    theme::apply(*qApp,
                 appearance == WindowAppearance::vibrantDark ? theme::Scheme::dark : theme::Scheme::system);
}

void DesktopShell::loadWebPage(WebView, const std::string&) {
    // Pages of the web open in the user's browser when they are asked for.
    host().mainQueue.post([this] {
        if (window_ != nullptr) window_->app().webPageLoaded();
    });
}

void DesktopShell::showMorvaneTab(MorvaneTab) {
    bringMainWindowToFront();
}

void DesktopShell::bringMainWindowToFront() {
    if (window_ != nullptr) window_->bringToFront();
}

void DesktopShell::libraryChanged() {
    if (window_ != nullptr) window_->libraryChanged();
}

void DesktopShell::gamePageChanged() {
    if (window_ != nullptr) window_->gamePageChanged();
}

void DesktopShell::actionTitleChanged() {
    if (window_ != nullptr) window_->actionTitleChanged();
}

void DesktopShell::showWindow(const NSDescriptionView::HtmlWindow& window) {
    // A page plays where its link leads; one without a link says that there is nothing to play.
    if (!window.link.empty()) interface_.openLink(window.link);
}

void DesktopShell::showVotingPanel(const std::shared_ptr<NSVotingPanel>& panel) {
    if (window_ != nullptr) window_->rate(panel);
}

void DesktopShell::beep() {
    QApplication::beep();
}

}  // namespace morvane::views
