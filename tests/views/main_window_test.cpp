#include "views/main_window.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextBrowser>

#include "foundation/progress_view.h"
#include "foundation/settings.h"
#include "platform/pictures.h"
#include "platform/property_list.h"
#include "views/desktop_interface.h"
#include "views/desktop_shell.h"
#include "views/library_list.h"
#include "views/views_machine.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

using views::MainWindow;

class MainWindows : public testing::ViewsMachine {
  protected:
    MainWindows() {
        Array list;
        for (const std::string name : {"Half Life", "Star Catcher", "Tetris"}) {
            const std::string path = home + "/Applications/" + name + ".app";
            put(Wrapper(path).launcher(), "#!/bin/sh\necho \"$@\" >> \"$0.log\"\n", true);
            put(Wrapper(path).tool(), "", true);
            put(Wrapper(path).infoPlist(),
                property_lists::xml(
                    Dictionary{{"CFBundleName", name}, {"CFBundleExecutable", "CaskeryLauncher"}}));
            list.push_back(Dictionary{{"Name", name}, {"Path", path}});
        }
        settings::store(settings::appList, list);
        settings::store(settings::mainFolder, Array{home + "/Applications/"});
        app = std::make_unique<AppDelegate>(shell, progress);
        window = std::make_unique<MainWindow>(*app, progress);
        shell.setMainWindow(window.get());
        window->show();
        app->library().showTab(NSAppsArray::localTab);
        list_ = window->findChild<views::LibraryList*>();
        runUntil([&] { return list_->model()->rowCount() == 3; });
    }
    [[nodiscard]] QStringList titles() const {
        QStringList texts;
        for (int row = 0; row < list_->model()->rowCount(); ++row)
            texts << list_->model()->index(row, 0).data().toString();
        return texts;
    }
    template <class Widget>
    Widget* named(const char* name) {
        for (Widget* each : window->findChildren<Widget*>())
            if (each->accessibleName() == name || each->property("text").toString() == name) return each;
        ADD_FAILURE() << "no widget is called " << name;
        return nullptr;
    }

    views::DesktopInterface interface;
    views::DesktopShell shell{interface};
    std::shared_ptr<NSProgressView> progress = std::make_shared<NSProgressView>();
    std::unique_ptr<AppDelegate> app;
    std::unique_ptr<MainWindow> window;
    QAbstractItemView* list_ = nullptr;
};

TEST_F(MainWindows, ShowTheGamesAndFilterThemAtEachKey) {
    EXPECT_EQ(titles(), QStringList({"Half Life", "Star Catcher", "Tetris"}));
    auto* search = named<QLineEdit>("Search");
    QTest::keyClicks(search, "star");
    runUntil([&] { return titles() == QStringList("Star Catcher"); });
    QTest::keyClick(search, Qt::Key_Escape);
    runUntil([&] { return list_->model()->rowCount() == 3; });
    QTest::keyClicks(search, "no such game");
    runUntil([&] { return list_->model()->rowCount() == 0; });
    EXPECT_FALSE(list_->isVisible()) << "an empty library says why";
}

TEST_F(MainWindows, ShowTheGameThatIsChosenAndKeepItThroughAReload) {
    list_->setCurrentIndex(list_->model()->index(1, 0));
    runUntil([&] { return app->gamePage().page().hasGame; });
    EXPECT_EQ(app->gamePage().gameData()->gameName, "Star Catcher");
    EXPECT_EQ(named<QPushButton>("PLAY")->text(), "PLAY");
    app->library().reload();
    runUntil([&] { return list_->currentIndex().row() == 1; });
    EXPECT_EQ(list_->currentIndex().data().toString(), "Star Catcher");
}

TEST_F(MainWindows, EveryControlHasANameAndCanBeReached) {
    list_->setCurrentIndex(list_->model()->index(0, 0));
    runUntil([&] { return app->gamePage().page().hasGame; });
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        const bool isControl = qobject_cast<QAbstractButton*>(widget) != nullptr ||
                               qobject_cast<QLineEdit*>(widget) != nullptr ||
                               qobject_cast<QAbstractItemView*>(widget) != nullptr;
        if (!isControl || !widget->isVisible() || widget->objectName().startsWith("qt_")) continue;
        const QString name = widget->accessibleName().isEmpty() ? widget->property("text").toString()
                                                                : widget->accessibleName();
        const bool isInside = qobject_cast<QLineEdit*>(widget->parentWidget()) != nullptr;
        EXPECT_TRUE(!name.isEmpty() || isInside) << widget->metaObject()->className();
        EXPECT_TRUE(widget->focusPolicy() != Qt::NoFocus || isInside) << name.toStdString();
    }
}

TEST_F(MainWindows, ClosingAsksAboutARunningInstallation) {
    bool asked = false;
    progress->setCancelAction([&] { asked = true; });
    progress->setIsCreatingWrapper(true);
    window->close();
    EXPECT_TRUE(asked);
    EXPECT_TRUE(window->isVisible()) << "the user went on";
    progress->setIsCreatingWrapper(false);
    window->close();
    EXPECT_FALSE(window->isVisible());
}

}  // namespace
}  // namespace morvane
