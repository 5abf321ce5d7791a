// views/desktop_shell.h: what the application tells the desktop (`ShellView`), passed on to the main window. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/app_delegate_view.h"

namespace morvane::views {

class DesktopInterface;
class MainWindow;
class Tray;

class DesktopShell : public ShellView {
  public:
    explicit DesktopShell(DesktopInterface& interface);

    ~DesktopShell() override;
    /// Nothing is drawn before and after.
    void setMainWindow(MainWindow* window);
    /// A link from outside.
    void openLink(const std::string& link) const;

    void setURLHandler(const std::function<void(const std::string& link)>& handler) override;
    void setNotificationHandler(const std::function<void(const std::string& info)>& handler) override;
    void setWindowAppearance(WindowAppearance appearance) override;
    void setThemeImage(ThemeImage image, const std::string& path) override;
    void loadWebPage(WebView web, const std::string& address) override;
    void showHtml(WebView web, const std::string& html) override;
    void createMenulet(const Menulet& menulet) override;
    void showMorvaneTab(MorvaneTab tab) override;
    void showGamePage() override;
    void bringMainWindowToFront() override;

    void changed(ShownPart part) override;
    void libraryRowChanged(std::size_t row) override;
    void rankingsChanged(NSRankingList::TableType type) override;

    void showWindow(const NSDescriptionView::HtmlWindow& window) override;
    void showVotingPanel(const std::shared_ptr<NSVotingPanel>& panel) override;
    void votingPanelClosed() override;
    void showProperties(const std::shared_ptr<NSPropertiesWindow>& properties) override;
    void propertiesClosed() override;
    void beep() override;

  private:
    /// Nothing happens without a window.
    template <class Work>
    void onWindow(Work&& work) {
        if (window_ != nullptr) work(*window_);
    }

    DesktopInterface& interface_;
    MainWindow* window_ = nullptr;
    std::unique_ptr<Tray> tray_;
    std::function<void(const std::string&)> link_;
};

}  // namespace morvane::views
