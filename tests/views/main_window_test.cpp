#include "views/main_window.h"

#include <QComboBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QToolButton>
#include <algorithm>
#include <filesystem>

#include "platform/pictures.h"
#include "views/desktop_stage.h"
#include "views/page_walk.h"
#include "views/properties_window.h"
#include "wrapper/launch_options.h"
#include "wrapper/sandbox.h"

namespace morvane {
namespace {

using views::MainWindow;

class MainWindows : public testing::DesktopStage {
  protected:
    MainWindows() {
        for (const std::string name : {"Half Life", "Star Catcher", "Tetris"}) addGame(name);
        for (const std::string name : {"Another World", "Star Atlas"}) addPort(name);
        open();
    }
    [[nodiscard]] QStringList titles() const {
        QStringList texts;
        for (int row = 0; row < list->model()->rowCount(); ++row)
            texts << list->model()->index(row, 0).data().toString();
        return texts;
    }
    enum class Seen { no, yes };
    /// Of those that can be seen, if so.
    template <class Widget>
    Widget* named(const char* name, Seen seen = Seen::no) {
        for (Widget* each : window->findChildren<Widget*>())
            if ((seen == Seen::no || each->isVisible()) &&
                (each->accessibleName() == name || each->property("text").toString() == name))
                return each;
        ADD_FAILURE() << "no widget is called " << name;
        return nullptr;
    }
};

TEST_F(MainWindows, ShowTheGamesAndFilterThemAtEachKey) {
    EXPECT_EQ(titles(), QStringList({"Half Life", "Star Catcher", "Tetris"}));
    auto* search = named<QLineEdit>("Search");
    QTest::keyClicks(search, "star");
    runUntil([&] { return titles() == QStringList("Star Catcher"); });
    QTest::keyClick(search, Qt::Key_Escape);
    runUntil([&] { return list->model()->rowCount() == 3; });
    QTest::keyClicks(search, "no such game");
    runUntil([&] { return list->model()->rowCount() == 0; });
    EXPECT_FALSE(list->isVisible()) << "an empty library says why";
}

TEST_F(MainWindows, ShowTheGameThatIsChosenAndKeepItThroughAReload) {
    list->setCurrentIndex(list->model()->index(1, 0));
    runUntil([&] { return app->gamePage().page().hasGame; });
    EXPECT_EQ(app->gamePage().gameData()->gameName, "Star Catcher");
    EXPECT_EQ(named<QPushButton>("PLAY")->text(), "PLAY");
    app->library().reload();
    runUntil([&] { return list->currentIndex().row() == 1; });
    EXPECT_EQ(list->currentIndex().data().toString(), "Star Catcher");
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

TEST_F(MainWindows, AGameIsPlayedOnceAndStoppedWhereItIsShown) {
    const std::string launcher = Wrapper(pathOf("Star Catcher")).launcher();
    put(launcher + ".runs", "");
    choose(1);
    auto* play = named<QPushButton>("PLAY");
    auto* stop = named<QPushButton>("Stop");
    EXPECT_FALSE(stop->isVisible());
    QTest::mouseClick(play, Qt::LeftButton);
    QTest::mouseClick(play, Qt::LeftButton);
    runUntil([&] { return app->library().isRunning(pathOf("Star Catcher")); });
    EXPECT_TRUE(stop->isVisible() && !play->isVisible());
    // Enter in the library does not start it a second time.
    QTest::keyClick(list, Qt::Key_Return);
    // Somebody else removes it from the disk while its page is open.
    std::filesystem::remove(launcher + ".runs");
    runUntil([&] { return play->isVisible(); });
    EXPECT_EQ(get(launcher + ".log"), "started\n");
}

TEST_F(MainWindows, ArrowsEnterAndDeleteWorkInTheLibrary) {
    const std::string launcher = Wrapper(pathOf("Half Life")).launcher();
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Home);
    QTest::keyClick(list, Qt::Key_Return);
    runUntil([&] { return std::filesystem::exists(launcher + ".log"); });
    runUntil([&] { return !app->library().isRunning(pathOf("Half Life")); });
    ui.expect("").titleIs("Remove App").answer("List Only");
    QTest::keyClick(list, Qt::Key_Delete);
    runUntil([&] { return titles() == QStringList({"Star Catcher", "Tetris"}); });
    EXPECT_TRUE(std::filesystem::exists(launcher)) << "it has only left the list";
}

TEST_F(MainWindows, ARowIsDraggedToAnotherPlace) {
    const std::unique_ptr<QMimeData> dragged(list->model()->mimeData({list->model()->index(2, 0)}));
    list->model()->dropMimeData(dragged.get(), Qt::MoveAction, 0, 0, {});
    runUntil([&] { return titles() == QStringList({"Tetris", "Half Life", "Star Catcher"}); });
    // The rows of a search have no order of their own.
    QTest::keyClicks(named<QLineEdit>("Search"), "e");
    EXPECT_FALSE(list->model()->canDropMimeData(dragged.get(), Qt::MoveAction, 0, 0, {}));
}

TEST_F(MainWindows, AServerIsSaidToBeGoneWhereItsGamesWouldBe) {
    reachable = [](const std::string&) { return false; };
    QTest::mouseClick(named<QToolButton>("Catalogue"), Qt::LeftButton);
    EXPECT_TRUE(testing::shows(*window, "Loading the catalogue"));
    runUntil([&] { return testing::shows(*window, "can't be reached"); });
    EXPECT_TRUE(ui.dialogs.empty());
    reachable = [](const std::string&) { return true; };
    site.answer("/ckis/listPorts.php", {.body = "7 || Ada || Back Again || 0 || 0 || --<br>"});
    QTest::mouseClick(named<QPushButton>("Try again", Seen::yes), Qt::LeftButton);
    runUntil([&] { return titles() == QStringList("Back Again"); });
}

TEST_F(MainWindows, WhatOthersDoMeanwhileIsSeen) {
    app->showProperties(pathOf("Half Life"));
    choose(0);
    // Another process takes a game from the list, and a user a wrapper from the disk.
    settings::store(settings::appList, Array{Dictionary{{"Name", "Half Life"}, {"Path", pathOf("Half Life")}},
                                             Dictionary{{"Name", "Tetris"}, {"Path", pathOf("Tetris")}}});
    std::filesystem::remove_all(pathOf("Half Life"));
    app->library().lookAtItems();
    runUntil([&] { return titles() == QStringList({"Half Life", "Tetris"}); });
    runUntil([&] { return app->library().row(0).state.isMissing; });
    // Saving what is gone says so, and makes nothing of it again.
    auto* properties = window->findChild<views::PropertiesWindow*>();
    auto* version = properties->findChildren<QLineEdit*>().at(1);
    QTest::keyClicks(version, "2");
    const std::size_t told = ui.dialogs.size();
    ui.expect("").titleIs("App Missing").answer("Remove it");
    QTest::mouseClick(properties->findChild<QPushButton*>("save"), Qt::LeftButton);
    runUntil([&] { return ui.dialogs.size() > told; });
    EXPECT_FALSE(std::filesystem::exists(pathOf("Half Life")));
    app->closeProperties();
}

TEST_F(MainWindows, LaunchOptionsAreTyped) {
    app->showProperties(pathOf("Tetris"));
    auto* properties = window->findChild<views::PropertiesWindow*>();
    properties->findChild<QTabWidget*>()->setCurrentIndex(3);
    auto* variables = properties->findChild<QPlainTextEdit*>();
    QTest::keyClicks(properties->findChild<QLineEdit*>("before"), "env -i");
    variables->setPlainText("A=b=c\nno variable");
    EXPECT_TRUE(testing::shows(*window, "no NAME=VALUE"));
    variables->setPlainText("A=b=c\n\n");
    EXPECT_FALSE(testing::shows(*window, "no NAME=VALUE"));
    QTest::keyClick(properties->findChild<QComboBox*>("sandbox"), Qt::Key_End);
    properties->findChild<QPushButton*>("save")->click();
    runUntil([&] { return window->findChild<views::PropertiesWindow*>() == nullptr; });
    const auto plist = property_lists::read(Wrapper(pathOf("Tetris")).infoPlist());
    const LaunchOptions options = launchOptionsIn(*plist->as<Dictionary>());
    EXPECT_EQ(options.before, "env -i");
    EXPECT_EQ(sandboxIn(*plist->as<Dictionary>()), Sandbox::strict);
    EXPECT_EQ(options.environment, (std::map<std::string, std::string>{{"A", "b=c"}}));
}

TEST_F(MainWindows, ACatalogueThatHangsHoldsUpNothingAndAGameIsStartedOnce) {
    site.answer("/ckis/listPorts.php", {.stall = true});
    app->library().refreshList();
    QTest::mouseClick(named<QToolButton>("Catalogue"), Qt::LeftButton);
    EXPECT_TRUE(testing::shows(*window, "Loading the catalogue"));
    QTest::mouseClick(named<QToolButton>("My Games"), Qt::LeftButton);
    runUntil([&] { return list->model()->rowCount() == 3; });
    // Enter twice: the first starts the game, the second finds it running.
    const std::string launcher = Wrapper(pathOf("Half Life")).launcher();
    put(launcher + ".runs", "");
    list->setCurrentIndex(list->model()->index(0, 0));
    for (int time = 0; time < 2; ++time) QTest::keyClick(list, Qt::Key_Return);
    runUntil([&] { return std::filesystem::exists(launcher + ".log"); });
    std::filesystem::remove(launcher + ".runs");
    runUntil([&] { return !app->library().isRunning(pathOf("Half Life")); });
    EXPECT_EQ(get(launcher + ".log"), "started\n");
}

TEST_F(MainWindows, HostileNamesAndPicturesAreShownAsWhatTheyAre) {
    const std::string name =
        "A\xE2\x80\xAE"
        "B " +
        std::string(200, 'x');
    addGame(name, "no picture at all");
    addGame("Wide", pictures::encodePng({30'000, 1, std::vector<std::uint8_t>(120'000, 9)}));
    close();
    open();
    list->setCurrentIndex(list->model()->index(3, 0));
    runUntil([&] { return app->gamePage().page().hasGame; });
    EXPECT_FALSE(titles().back().contains(QChar(0x202E))) << "no direction marks";
    EXPECT_LE(window->minimumSizeHint().width(), 1180) << "a long name is elided, or broken";
    static_cast<void>(window->grab());
}

}  // namespace
}  // namespace morvane
