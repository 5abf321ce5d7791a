#include "views/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QSettings>
#include <QSplitter>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>
#include <array>

#include "foundation/progress_view.h"
#include "library/voting_panel.h"
#include "platform/host.h"
#include "views/game_page.h"
#include "views/labels.h"
#include "views/library_page.h"
#include "views/progress_panel.h"
#include "views/qt_text.h"
#include "views/theme.h"
#include "wrapper/layout.h"

namespace morvane::views {
namespace {

constexpr QSize firstSize{1180, 760};
constexpr int gamePageWidth = 380;

/// Place and size of windows: the toolkit's own bytes, beside the user's settings.
QSettings windowSettings() {
    return {toQt(layout::applicationSupportFolder() + "/windows.ini"), QSettings::IniFormat};
}

}  // namespace

MainWindow::MainWindow(AppDelegate& app, std::shared_ptr<NSProgressView> progress)
    : app_(app),
      progress_(std::move(progress)),
      splitter_(new QSplitter(this)),
      library_(new LibraryPage(app, this)),
      game_(new GamePage(app, this)),
      panel_(new ProgressPanel(this)) {
    setWindowTitle("Morvane");
    setAcceptDrops(true);
    splitter_->addWidget(library_);
    splitter_->addWidget(game_);
    splitter_->setStretchFactor(0, 1);
    splitter_->setStretchFactor(1, 0);
    splitter_->setChildrenCollapsible(false);
    library_->setMinimumWidth(320);
    game_->setMinimumWidth(260);
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(splitter_, 1);
    layout->addWidget(panel_);
    setCentralWidget(central);
    connect(panel_, &ProgressPanel::cancelPressed, this, [this] { progress_->cancel(); });
    connect(library_, &LibraryPage::gameWanted, this, [this](std::size_t row) { app_.openRow(row); });
    connect(library_, &LibraryPage::gameActivated, this, [this] { app_.gamePage().clickAction(); });
    makeMenus();
    restoreLooks();
}

void MainWindow::makeMenus() {
    const auto add = [this](QMenu* menu, const char* title, const QKeySequence& keys, auto work) {
        menu->addAction(shown(title), keys, this, work);
    };
    QMenu* file = menuBar()->addMenu(shown("&File"));
    add(file, "Open a Port…", QKeySequence::Open, [this] { app_.createWrapper(); });
    add(file, "New Blank Wrapper…", QKeySequence::New, [this] { app_.createBlankWrapper(); });
    add(file, "Add a Game…", {}, [this] { app_.library().add(); });
    file->addSeparator();
    add(file, "Quit", QKeySequence::Quit, [this] { close(); });
    QMenu* game = menuBar()->addMenu(shown("&Game"));
    connect(game, &QMenu::aboutToShow, this, [this, game] {
        game->clear();
        for (const NSDescriptionView::MenuItem& item : app_.gamePage().moreMenu()) {
            QAction* action = game->addAction(literalTitle(item.title));
            action->setEnabled(item.enabled);
            if (item.action) connect(action, &QAction::triggered, this, item.action);
        }
        if (game->isEmpty()) game->addAction(shown("No game is selected"))->setEnabled(false);
    });
    QMenu* view = menuBar()->addMenu(shown("&View"));
    add(view, "My Games", QKeySequence(Qt::CTRL | Qt::Key_1),
        [this] { library_->showTab(NSAppsArray::localTab); });
    add(view, "Catalogue", QKeySequence(Qt::CTRL | Qt::Key_2),
        [this] { library_->showTab(NSAppsArray::catalogueTab); });
    view->addSeparator();
    add(view, "Grid", QKeySequence(Qt::CTRL | Qt::Key_G), [this] { library_->showAs(true); });
    add(view, "List", QKeySequence(Qt::CTRL | Qt::Key_L), [this] { library_->showAs(false); });
    view->addSeparator();
    add(view, "Search", QKeySequence::Find, [this] { library_->focusSearch(); });
    add(view, "Refresh", QKeySequence(Qt::Key_F5), [this] { app_.library().refreshList(); });
}

void MainWindow::restoreLooks() {
    resize(firstSize);
    splitter_->setSizes({firstSize.width() - gamePageWidth, gamePageWidth});
    const QSettings settings = windowSettings();
    restoreGeometry(settings.value("main/geometry").toByteArray());
    splitter_->restoreState(settings.value("main/splitter").toByteArray());
    library_->showAs(settings.value("library/grid", true).toBool());
}

void MainWindow::storeLooks() const {
    QSettings settings = windowSettings();
    settings.setValue("main/geometry", saveGeometry());
    settings.setValue("main/splitter", splitter_->saveState());
    settings.setValue("library/grid", library_->isGrid());
}

void MainWindow::bringToFront() {
    show();
    raise();
    activateWindow();
}

void MainWindow::libraryChanged() {
    library_->refresh();
}

void MainWindow::gamePageChanged() {
    game_->refresh();
}

void MainWindow::actionTitleChanged() {
    game_->refreshActionTitle();
}

void MainWindow::rate(const std::shared_ptr<NSVotingPanel>& panel) {
    QDialog dialog(this);
    dialog.setWindowTitle(literalLine(panel->title()));
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(new HeadingLabel(literalLine(panel->title()), &dialog));
    auto* row = new QHBoxLayout;
    std::array<QToolButton*, 5> stars{};
    const auto show = [&stars, &panel] {
        for (int star = 1; star <= 5; ++star)
            stars.at(static_cast<std::size_t>(star - 1))
                ->setIcon(theme::icon(star <= panel->vote() ? "star" : "star-empty"));
    };
    for (int star = 1; star <= 5; ++star) {
        auto* button = new QToolButton(&dialog);
        button->setAutoRaise(true);
        button->setIconSize({32, 32});
        button->setAccessibleName(shown("%@ of 5 stars", {std::to_string(star)}));
        QObject::connect(button, &QToolButton::clicked, &dialog, [&panel, &show, star] {
            panel->clickStar(star);
            show();
        });
        stars.at(static_cast<std::size_t>(star - 1)) = button;
        row->addWidget(button);
    }
    show();
    layout->addLayout(row);
    auto* buttons = new QDialogButtonBox(&dialog);
    buttons->addButton(shown("Vote"), QDialogButtonBox::AcceptRole);
    buttons->addButton(shown("Cancel"), QDialogButtonBox::RejectRole);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    // Kept: voting closes the panel.
    const auto kept = panel;
    if (dialog.exec() == QDialog::Accepted) {
        kept->applyVote();
    } else {
        kept->cancelVote();
    }
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (progress_->isCreatingWrapper()) {
        // Its own question; what was made is gone before the application ends.
        progress_->cancel();
        if (!host().creation.requested()) return event->ignore();
    }
    storeLooks();
    event->accept();
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Shift) app_.gamePage().flagsChanged(Shift::held);
    QMainWindow::keyPressEvent(event);
}

void MainWindow::keyReleaseEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Shift) app_.gamePage().flagsChanged(Shift::up);
    QMainWindow::keyReleaseEvent(event);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    std::vector<std::string> paths;
    for (const QUrl& url : event->mimeData()->urls()) {
        if (url.isLocalFile()) paths.push_back(fromQt(url.toLocalFile()));
    }
    event->acceptProposedAction();
    // The drag is over before anything is asked.
    host().mainQueue.post([this, paths] {
        for (const std::string& path : paths) app_.openFile(path);
    });
}

}  // namespace morvane::views
