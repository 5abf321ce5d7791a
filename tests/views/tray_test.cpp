#include "views/tray.h"

#include "foundation/settings.h"
#include "views/desktop_interface.h"
#include "views/desktop_shell.h"
#include "views/views_machine.h"

namespace morvane::views {
namespace {

class Trays : public testing::ViewsMachine {
  protected:
    void showGames(const std::vector<std::string>& names) {
        Array list;
        for (const std::string& name : names) {
            const std::string path = home + "/Applications/" + name + ".app";
            put(path + "/Contents/Info.plist", "");
            list.push_back(Dictionary{{"Name", name}, {"Path", path}});
        }
        settings::store(settings::appList, list);
        app = std::make_unique<AppDelegate>(shell, progress);
        app->library().showTab(localTab);
        runUntil([&] { return app->actions().applicationDockMenu().size() == names.size(); });
    }
    static QStringList titlesOf(QMenu& menu) {
        emit menu.aboutToShow();
        QStringList titles;
        for (const QAction* action : menu.actions()) {
            if (!action->isSeparator()) titles << action->text();
        }
        return titles;
    }
    static void click(QMenu& menu, const QString& title) {
        for (QAction* action : menu.actions()) {
            if (action->text() == title) return action->trigger();
        }
        ADD_FAILURE() << "nothing is called " << title.toStdString();
    }

    DesktopInterface interface;
    DesktopShell shell{interface};
    std::shared_ptr<NSProgressView> progress = std::make_shared<NSProgressView>();
    std::unique_ptr<AppDelegate> app;
    std::string clicked;
    const Menulet menulet{.tooltip = "Morvane", .titles = {"Morvane 1"}};
    const Tray::Actions actions{.open = [this] { clicked += "open "; },
                                .library = [this] { clicked += "library "; },
                                .quit = [this] { clicked += "quit "; }};
};

TEST_F(Trays, OfferTheGamesAsTheyAreWhenTheMenuOpens) {
    showGames({"Salt & Sand"});
    Tray tray(*app, menulet, actions);
    EXPECT_EQ(titlesOf(tray.menu()), QStringList({"Morvane 1", "Salt && Sand", "Open Morvane", "Quit"}));
    EXPECT_FALSE(tray.menu().actions().front()->isEnabled());
    click(tray.menu(), "Open Morvane");
    click(tray.menu(), "Quit");
    EXPECT_EQ(clicked, "open quit ");
}

}  // namespace
}  // namespace morvane::views
