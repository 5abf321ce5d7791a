// Every window of the desktop, walked through: each control has a name, and the keyboard reaches it.
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QSlider>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>

#include "views/desktop_stage.h"
#include "views/dialogs.h"
#include "views/page_walk.h"
#include "views/preferences_window.h"
#include "views/progress_panel.h"
#include "views/properties_window.h"
#include "views/rating_window.h"
#include "views/resources_window.h"
#include "views/video_window.h"

namespace morvane {
namespace {

using namespace testing;

class Accessibility : public DesktopStage {
  protected:
    Accessibility() {
        for (const std::string name : {"Half Life", "Star Catcher"}) addGame(name);
        addPort("Another World");
        open();
        choose(0);
    }
    static void walk(QWidget& place) {
        runUntil([&] { return place.isVisible(); });
        expectAccessible(place);
        for (QWidget* widget : place.findChildren<QWidget*>()) {
            const bool isControl = qobject_cast<QComboBox*>(widget) != nullptr ||
                                   qobject_cast<QSlider*>(widget) != nullptr ||
                                   qobject_cast<QTabBar*>(widget) != nullptr ||
                                   qobject_cast<QAbstractSpinBox*>(widget) != nullptr;
            if (!isControl || !widget->isVisible()) continue;
            const QWidget* named =
                qobject_cast<QTabBar*>(widget) != nullptr ? widget->parentWidget() : widget;
            EXPECT_FALSE(nameOf(*named).empty()) << widget->metaObject()->className();
            EXPECT_TRUE((widget->focusPolicy() & Qt::TabFocus) != 0) << widget->metaObject()->className();
        }
    }
    static void walkTabs(QWidget& place) {
        auto* tabs = place.findChild<QTabWidget*>();
        for (int tab = 0; tab < tabs->count(); ++tab) {
            tabs->setCurrentIndex(tab);
            walk(place);
        }
    }
};

TEST_F(Accessibility, OfTheMainWindowsPages) {
    for (const MorvaneTab tab :
         {MorvaneTab::library, MorvaneTab::rankings, MorvaneTab::news, MorvaneTab::forum, MorvaneTab::help}) {
        window->showTab(tab);
        walk(*window);
    }
    window->showTab(MorvaneTab::library);
    window->progressPanel().showState({.status = "Copying", .height = 111, .cancellable = true});
    walk(window->progressPanel());
    window->showLibrary(catalogueTab);
    runUntil([&] { return list->model()->rowCount() == 1; });
    walk(*window);
}

TEST_F(Accessibility, OfTheOtherWindows) {
    window->showPreferences();
    walkTabs(*window->findChild<views::PreferencesWindow*>());
    app->showProperties(pathOf("Half Life"));
    walkTabs(*window->findChild<views::PropertiesWindow*>());
    window->showVotingPanel(std::make_shared<NSVotingPanel>(3, "Rating", [] {}));
    walk(*window->findChild<views::RatingWindow*>());
    window->votingPanelClosed();
    window->showVideo({.name = "Trailer", .html = "", .link = "https://example.com/x"});
    walk(*window->findChild<views::VideoWindow*>());
    views::ResourcesWindow resources(progress, window.get());
    resources.show();
    walk(resources);
}

}  // namespace
}  // namespace morvane
