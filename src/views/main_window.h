// views/main_window.h: draws the application's main window: its pages, menus and the progress panel (`AppDelegate`).
// Main thread.
#pragma once

#include <QMainWindow>
#include <QPointer>
#include <map>
#include <memory>

#include "app/app_delegate.h"
#include "views/video_window.h"

class QSplitter;
class QStackedWidget;

namespace morvane::views {

class GamePage;
class HelpPage;
class LibraryPage;
class PreferencesWindow;
class ProgressPanel;
class PropertiesWindow;
class RankingsPage;
class RatingWindow;
class ResourcesWindow;
class Sidebar;
class WebPage;

class MainWindow : public QMainWindow {
    Q_OBJECT
  public:
    /// Place, size, page and looks are as they were last. The application must outlive it.
    MainWindow(AppDelegate& app, std::shared_ptr<NSProgressView> progress);
    ~MainWindow() override;

    [[nodiscard]] AppDelegate& app() { return app_; }
    [[nodiscard]] ProgressPanel& progressPanel() { return *panel_; }
    [[nodiscard]] LibraryPage& libraryPage() { return *library_; }
    [[nodiscard]] GamePage& gamePage() { return *game_; }
    [[nodiscard]] RankingsPage& rankingsPage() { return *rankings_; }
    [[nodiscard]] WebPage& webPage(WebView web) { return web == WebView::news ? *news_ : *forum_; }

    void bringToFront();
    /// The application switches to the page.
    void showTab(MorvaneTab tab);
    /// `localTab` or `catalogueTab`.
    void showLibrary(std::int64_t tab);
    /// Closes the window; the application ends when nobody objects.
    void quit();
    void showPreferences();
    void showProperties(const std::shared_ptr<NSPropertiesWindow>& properties);
    void showVotingPanel(const std::shared_ptr<NSVotingPanel>& panel);
    void showVideo(const NSDescriptionView::HtmlWindow& video);

    // What is shown of them has changed, or is to go.
    void libraryRowChanged(std::size_t row);
    void preferencesChanged();
    void propertiesChanged();
    void propertiesClosed();
    void votingPanelClosed();

  protected:
    /// A running installation and unsaved properties are asked about first.
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void addPage(MorvaneTab tab, QWidget* page, const QString& title, std::string_view symbol);
    QWidget* makeLibrary();
    void makeMenus();
    void makeFileMenu();
    void makeGameMenu();
    void makeViewMenu();
    void makeToolsMenu();
    void makeHelpMenu();
    void chooseTab(MorvaneTab tab);
    void showResources();
    void showAbout();
    void refreshAll();
    void restoreLooks();
    void storeLooks() const;

    AppDelegate& app_;
    const std::shared_ptr<NSProgressView> progress_;
    Sidebar* sidebar_;
    QStackedWidget* stack_;
    std::map<MorvaneTab, QWidget*> pages_;
    QSplitter* splitter_ = nullptr;
    LibraryPage* library_ = nullptr;
    GamePage* game_ = nullptr;
    RankingsPage* rankings_;
    WebPage *news_, *forum_;
    ProgressPanel* panel_;
    QPointer<PreferencesWindow> preferences_;
    QPointer<PropertiesWindow> properties_;
    QPointer<RatingWindow> rating_;
    QPointer<ResourcesWindow> resources_;
    VideoWindows videos_;
};

}  // namespace morvane::views
