// The menus of the main window.
#include <QAction>
#include <QMenuBar>
#include <QMessageBox>

#include "app/help_tab.h"
#include "foundation/localization.h"
#include "library/apps_questions.h"
#include "platform/host.h"
#include "views/library_page.h"
#include "views/main_window.h"
#include "views/menus.h"
#include "views/qt_text.h"

namespace morvane::views {

void MainWindow::makeMenus() {
    makeFileMenu();
    makeGameMenu();
    makeViewMenu();
    makeToolsMenu();
    makeHelpMenu();
}

void MainWindow::makeFileMenu() {
    QMenu* menu = menuBar()->addMenu(shown("&File"));
    menu->addAction(shown("&Open a Port…"), QKeySequence::Open, this,
                    [this] { app_.actions().createWrapper(); });
    menu->addAction(shown("&New Blank Wrapper…"), QKeySequence::New, this,
                    [this] { app_.actions().createBlankWrapper(); });
    menu->addAction(shown("&Add a Game…"), this, [this] { app_.library().add(); });
    menu->addSeparator();
    menu->addAction(shown("&Preferences…"), QKeySequence(Qt::CTRL | Qt::Key_Comma), this,
                    &MainWindow::showPreferences);
    menu->addSeparator();
    menu->addAction(shown("&Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q), this, &MainWindow::quit);
}

void MainWindow::makeGameMenu() {
    QMenu* menu = menuBar()->addMenu(shown("&Game"));
    const auto fill = [this, menu] {
        menu->clear();
        fillMenu(*menu, app_.gamePage().moreMenu());
        if (menu->isEmpty()) menu->addAction(shown("No game is chosen"))->setEnabled(false);
    };
    connect(menu, &QMenu::aboutToShow, this, fill);
    fill();
}

void MainWindow::makeViewMenu() {
    QMenu* menu = menuBar()->addMenu(shown("&View"));
    const std::pair<MorvaneTab, const char*> tabs[]{{MorvaneTab::library, marked("&Library")},
                                                    {MorvaneTab::rankings, marked("&Rankings")},
                                                    {MorvaneTab::news, marked("&News")},
                                                    {MorvaneTab::forum, marked("&Community")},
                                                    {MorvaneTab::help, marked("&Help")}};
    int key = Qt::Key_1;
    for (const auto& [tab, title] : tabs) {
        menu->addAction(shown(title), QKeySequence(Qt::CTRL | static_cast<Qt::Key>(key++)), this,
                        [this, tab = tab] { chooseTab(tab); });
    }
    menu->addSeparator();
    menu->addAction(shown("&My Games"), QKeySequence(Qt::CTRL | Qt::Key_M), this,
                    [this] { showLibrary(localTab); });
    menu->addAction(shown("Ca&talogue"), QKeySequence(Qt::CTRL | Qt::Key_T), this,
                    [this] { showLibrary(catalogueTab); });
    menu->addSeparator();
    menu->addAction(shown("As a &Grid"), QKeySequence(Qt::CTRL | Qt::Key_G), this,
                    [this] { library_->showAs(true); });
    menu->addAction(shown("As a L&ist"), QKeySequence(Qt::CTRL | Qt::Key_L), this,
                    [this] { library_->showAs(false); });
    menu->addSeparator();
    menu->addAction(shown("&Search"), QKeySequence::Find, this, [this] {
        chooseTab(MorvaneTab::library);
        library_->focusSearch();
    });
    menu->addAction(shown("Re&fresh"), QKeySequence(Qt::Key_F5), this, &MainWindow::refreshAll);
}

void MainWindow::refreshAll() {
    app_.library().refreshList();
    app_.apps().scanAgain([app = &app_] { app->library().reload(); });
}

void MainWindow::makeToolsMenu() {
    QMenu* menu = menuBar()->addMenu(shown("&Tools"));
    menu->addAction(shown("Needed &Resources…"), this, &MainWindow::showResources);
    menu->addAction(shown("Force All Games to &Close…"), this,
                    [this] { apps_questions::askToKillAllCaskeryProcessesFromLocalApps(app_.apps()); });
}

void MainWindow::makeHelpMenu() {
    QMenu* menu = menuBar()->addMenu(shown("&Help"));
    menu->addAction(shown("&Help"), QKeySequence::HelpContents, this,
                    [this] { chooseTab(MorvaneTab::help); });
    menu->addAction(shown("The &Catalogue in the Browser"), this, [] { NSHelpTab::morvaneHelp(); });
    menu->addSeparator();
    menu->addAction(shown("&About Morvane"), this, &MainWindow::showAbout);
}

void MainWindow::showAbout() {
    QMessageBox about(this);
    about.setWindowTitle(shown("About Morvane"));
    about.setIconPixmap(windowIcon().pixmap(96, 96));
    about.setTextFormat(Qt::PlainText);
    about.setText(QString("Morvane %1").arg(toQt(applicationVersion())));
    about.setInformativeText(
        shown("Installs Windows games so that each lives in its own application bundle."));
    about.exec();
}

}  // namespace morvane::views
