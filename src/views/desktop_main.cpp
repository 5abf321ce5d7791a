// The `morvane-desktop` program.
#include <QApplication>
#include <QTimer>
#include <QUrl>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "app/app_delegate.h"
#include "app/crash_reports.h"
#include "front/embedded_sites.h"
#include "views/core_loop.h"
#include "views/desktop_interface.h"
#include "views/desktop_shell.h"
#include "views/main_window.h"
#include "views/progress_panel.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace {

using namespace morvane;

/// A file, a link or a program that the user's desktop hands over.
void open(AppDelegate& app, const views::DesktopShell& shell, const std::string& what) {
    if (what.find("://") != std::string::npos && !what.starts_with("file://")) return shell.openLink(what);
    const std::string path =
        what.starts_with("file://") ? QUrl(views::toQt(what)).toLocalFile().toStdString() : what;
    app.openFile(path);
}

/// What runs in the background may end by itself; a game goes on without us, and settings are on disk.
void endSoon() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (host().workQueues.busy() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    if (host().workQueues.busy()) std::_Exit(EXIT_SUCCESS);
}

}  // namespace

int main(int argc, char** argv) {
    crash_reports::writeOwnReports(Folders::fromEnvironment());
    std::signal(SIGPIPE, SIG_IGN);
    QApplication application(argc, argv);
    QApplication::setApplicationName("Morvane");
    QApplication::setDesktopFileName("app.morvane.Morvane");

    views::DesktopInterface interface;
    Host host(optionsOfProcess(), interface);
    EmbeddedSites::completeFromSettings();
    EmbeddedSites sites(
        [](const std::string& text) { morvane::host().log.write(Log::Level::warning, text); });
    views::theme::apply(application, views::theme::Scheme::system);
    {
        const views::CoreLoop loop;
        views::DesktopShell shell(interface);
        const auto progress = std::make_shared<NSProgressView>();
        AppDelegate app(shell, progress);
        views::MainWindow window(app, progress);
        interface.setMainWindow(&window, &window.progressPanel());
        shell.setMainWindow(&window);
        window.show();
        // The first picture does not wait for servers and lists.
        QTimer::singleShot(0, &application, [&] {
            sites.provide();
            app.applicationDidFinishLaunching();
            for (const QString& argument : QApplication::arguments().mid(1)) {
                open(app, shell, views::fromQt(argument));
            }
        });
        QApplication::exec();
        app.applicationWillTerminate();
        shell.setMainWindow(nullptr);
        interface.setMainWindow(nullptr, nullptr);
    }
    sites.cancel();
    endSoon();
    return EXIT_SUCCESS;
}
