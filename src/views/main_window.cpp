#include "views/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QMimeData>
#include <QSettings>
#include <QSplitter>
#include <QStackedWidget>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>

#include "foundation/progress_view.h"
#include "platform/host.h"
#include "views/game_page.h"
#include "views/help_page.h"
#include "views/labels.h"
#include "views/library_page.h"
#include "views/preferences_window.h"
#include "views/progress_panel.h"
#include "views/properties_window.h"
#include "views/qt_text.h"
#include "views/rankings_page.h"
#include "views/rating_window.h"
#include "views/resources_window.h"
#include "views/sidebar.h"
#include "views/theme.h"
#include "views/web_page.h"
#include "wrapper/layout.h"

namespace morvane::views {
namespace {

constexpr QSize firstSize{1180, 760};
constexpr int gamePageWidth = 380;

/// Place and size of windows: the toolkit's own bytes, beside the user's settings.
QSettings windowSettings() {
    return {toQt(layout::applicationSupportFolder() + "/windows.ini"), QSettings::IniFormat};
}

bool canBeOpened(const QUrl& url) {
    const QString name = url.fileName().toLower();
    return url.isLocalFile() && (name.endsWith(".cki") || name.endsWith(".exe") || name.endsWith(".app") ||
                                 url.path().endsWith(".app/"));
}

}  // namespace

MainWindow::MainWindow(AppDelegate& app, std::shared_ptr<NSProgressView> progress)
    : app_(app),
      progress_(std::move(progress)),
      sidebar_(new Sidebar(this)),
      stack_(new QStackedWidget(this)),
      rankings_(new RankingsPage(app, this)),
      news_(new WebPage(app, WebView::news, this)),
      forum_(new WebPage(app, WebView::forum, this)),
      panel_(new ProgressPanel(this)),
      videos_(app, this) {
    setWindowTitle("Morvane");
    setAcceptDrops(true);
    addPage(MorvaneTab::library, makeLibrary(), shown("Library"), "library");
    addPage(MorvaneTab::rankings, rankings_, shown("Rankings"), "rankings");
    addPage(MorvaneTab::news, news_, shown("News"), "news");
    addPage(MorvaneTab::forum, forum_, shown("Community"), "community");
    addPage(MorvaneTab::help, new HelpPage(app_, this), shown("Help"), "help");
    auto* pages = new QHBoxLayout;
    pages->setSpacing(0);
    pages->addWidget(sidebar_);
    pages->addWidget(stack_, 1);
    auto* central = new QWidget(this);
    auto* column = new QVBoxLayout(central);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(pages, 1);
    column->addWidget(panel_);
    setCentralWidget(central);
    connect(sidebar_, &Sidebar::chosen, this, &MainWindow::chooseTab);
    connect(panel_, &ProgressPanel::cancelPressed, this, [this] { progress_->cancel(); });
    makeMenus();
    restoreLooks();
    qApp->installEventFilter(this);
}

MainWindow::~MainWindow() = default;

void MainWindow::addPage(MorvaneTab tab, QWidget* page, const QString& title, std::string_view symbol) {
    pages_[tab] = page;
    stack_->addWidget(page);
    sidebar_->add(tab, title, symbol);
}

QWidget* MainWindow::makeLibrary() {
    splitter_ = new QSplitter(this);
    library_ = new LibraryPage(app_, this);
    game_ = new GamePage(app_, this);
    splitter_->addWidget(library_);
    splitter_->addWidget(game_);
    splitter_->setStretchFactor(0, 1);
    splitter_->setStretchFactor(1, 0);
    splitter_->setChildrenCollapsible(false);
    constexpr int narrowestLibrary = 320, narrowestPage = 260;
    library_->setMinimumWidth(narrowestLibrary);
    game_->setMinimumWidth(narrowestPage);
    connect(library_, &LibraryPage::gameWanted, this, [this](std::size_t row) { app_.openRow(row); });
    return splitter_;
}

// ---- Pages and windows

void MainWindow::bringToFront() {
    if (isMinimized()) showNormal();
    show();
    raise();
    activateWindow();
}

void MainWindow::showTab(MorvaneTab tab) {
    const auto page = pages_.find(tab);
    if (page == pages_.end()) return;
    sidebar_->select(tab);
    stack_->setCurrentWidget(page->second);
}

void MainWindow::chooseTab(MorvaneTab tab) {
    showTab(tab);
    app_.tabChosen(tab);
}

void MainWindow::showLibrary(std::int64_t tab) {
    chooseTab(MorvaneTab::library);
    library_->showTab(tab);
}

void MainWindow::showPreferences() {
    if (!preferences_) {
        preferences_ = new PreferencesWindow(app_, this);
        preferences_->setAttribute(Qt::WA_DeleteOnClose);
    }
    preferences_->show();
    preferences_->raise();
    preferences_->activateWindow();
}

void MainWindow::preferencesChanged() {
    if (preferences_) preferences_->refresh();
}

void MainWindow::showProperties(const std::shared_ptr<NSPropertiesWindow>& properties) {
    propertiesClosed();
    properties_ = new PropertiesWindow(properties, this);
    connect(properties_, &PropertiesWindow::closeRequested, this, [this] { app_.closeProperties(); });
    properties_->show();
}

void MainWindow::propertiesChanged() {
    if (properties_) properties_->refresh();
}

void MainWindow::propertiesClosed() {
    if (!properties_) return;
    properties_->hide();
    properties_->deleteLater();
    properties_ = nullptr;
}

void MainWindow::showVotingPanel(const std::shared_ptr<NSVotingPanel>& panel) {
    votingPanelClosed();
    rating_ = new RatingWindow(panel, this);
    rating_->open();
}

void MainWindow::votingPanelClosed() {
    if (!rating_) return;
    rating_->hide();
    rating_->deleteLater();
    rating_ = nullptr;
}

void MainWindow::showVideo(const NSDescriptionView::HtmlWindow& video) {
    videos_.show(video);
}

void MainWindow::showResources() {
    if (!resources_) {
        resources_ = new ResourcesWindow(progress_, this);
        resources_->setAttribute(Qt::WA_DeleteOnClose);
    }
    resources_->show();
    resources_->raise();
}

void MainWindow::libraryRowChanged(std::size_t row) {
    library_->refreshRow(row);
    game_->refreshState();
}

void MainWindow::quit() {
    if (close()) QApplication::quit();
}

// ---- Looks

void MainWindow::restoreLooks() {
    resize(firstSize);
    splitter_->setSizes({firstSize.width() - gamePageWidth, gamePageWidth});
    const QSettings settings = windowSettings();
    restoreGeometry(settings.value("main/geometry").toByteArray());
    splitter_->restoreState(settings.value("main/splitter").toByteArray());
    library_->showAs(settings.value("library/grid", app_.tableInUse() == LibraryLayout::grid).toBool());
    const int page = settings.value("main/page", static_cast<int>(MorvaneTab::library)).toInt();
    showTab(MorvaneTab::library);
    // What it shows is loaded once the application has started.
    const auto tab = static_cast<MorvaneTab>(page);
    if (pages_.contains(tab))
        host().mainQueue.post([window = QPointer(this), tab] {
            if (window) window->chooseTab(tab);
        });
}

void MainWindow::storeLooks() const {
    QSettings settings = windowSettings();
    settings.setValue("main/geometry", saveGeometry());
    settings.setValue("main/splitter", splitter_->saveState());
    settings.setValue("library/grid", library_->isGrid());
    const auto shown =
        std::ranges::find(pages_, stack_->currentWidget(), &decltype(pages_)::value_type::second);
    if (shown != pages_.end()) settings.setValue("main/page", static_cast<int>(shown->first));
}

// ---- Events

void MainWindow::closeEvent(QCloseEvent* event) {
    if (progress_->isCreatingWrapper()) {
        // Its own question; what was made is gone before the application ends.
        progress_->cancel();
        if (!host().creation.requested()) return event->ignore();
    }
    if (properties_) properties_->reject();
    if (properties_) return event->ignore();
    storeLooks();
    for (const QPointer<QWidget> window : QApplication::topLevelWidgets()) {
        if (window && window != this) window->close();
    }
    event->accept();
}

void MainWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() != QEvent::ActivationChange) return;
    if (isActiveWindow()) {
        app_.library().lookAtItems();
    } else {
        app_.gamePage().flagsChanged(Shift::up);
    }
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    const bool isPress = event->type() == QEvent::KeyPress;
    if ((isPress || event->type() == QEvent::KeyRelease) && watched->isWindowType()) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Shift && !key->isAutoRepeat())
            app_.gamePage().flagsChanged(isPress ? Shift::held : Shift::up);
    }
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (std::ranges::any_of(event->mimeData()->urls(), canBeOpened)) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    std::vector<std::string> paths;
    for (const QUrl& url : event->mimeData()->urls()) {
        if (canBeOpened(url)) paths.push_back(fromQt(url.adjusted(QUrl::StripTrailingSlash).toLocalFile()));
    }
    event->acceptProposedAction();
    // The drag is over before anything is asked.
    host().mainQueue.post([window = QPointer(this), paths] {
        for (const std::string& path : paths) {
            if (window) window->app_.actions().openFile(path);
        }
    });
}

}  // namespace morvane::views
