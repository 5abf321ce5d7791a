// The `morvane-desktop` program.
#include <unistd.h>

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "app/app_delegate.h"
#include "app/crash_reports.h"
#include "front/embedded_sites.h"
#include "views/core_loop.h"
#include "views/desktop_interface.h"
#include "views/desktop_shell.h"
#include "views/labels.h"
#include "views/main_window.h"
#include "views/progress_panel.h"
#include "views/qt_text.h"
#include "views/single_instance.h"
#include "views/theme.h"

namespace {

using namespace morvane;

/// The bus has started it, and brings what it is to do.
constexpr std::string_view serviceOption = "--gapplication-service";
/// "library", "catalogue" or "quit" follows.
constexpr std::string_view actionOption = "--action";
constexpr std::chrono::seconds longestWaitAsService{30};

/// With what the session gave for it: without, many desktops only mark the window.
void raise(views::MainWindow& window, const std::string& activationToken) {
    constexpr const char* variable = "XDG_ACTIVATION_TOKEN";
    if (!activationToken.empty()) qputenv(variable, QByteArray::fromStdString(activationToken));
    window.bringToFront();
    qunsetenv(variable);
}

void open(AppDelegate& app, const views::DesktopShell& shell, const std::string& item) {
    if (item.starts_with('/')) {
        app.actions().openFile(item);
    } else {
        shell.openLink(item);
    }
}

bool hasDisplay(int argc, char** argv) {
    const bool isChosen = std::any_of(argv + 1, argv + argc, [](const char* argument) {
        return std::string_view(argument).ends_with("-platform") || std::string_view(argument) == "-display";
    });
    return isChosen || qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
           qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
}

/// What another start, the desktop or this process's own arguments ask for.
void serve(const views::StartRequest& request, AppDelegate& app, const views::DesktopShell& shell,
           views::MainWindow& window) {
    if (request.action == "quit") return window.quit();
    raise(window, request.activationToken);
    for (const std::string& item : request.items) open(app, shell, item);
    if (request.action.empty()) return;
    window.showLibrary(request.action == "catalogue" ? catalogueTab : localTab);
}

/// Somebody who started it from a menu reads no standard error.
void tellOfFailure(const Failure& failure) {
    std::fprintf(stderr, "morvane-desktop: %s\n", failure.message().c_str());
    if (::isatty(STDERR_FILENO) == 1) return;
    constexpr std::chrono::seconds longest{20};
    QMessageBox box(QMessageBox::Warning, "Morvane", views::literal(failure.message()));
    QTimer::singleShot(longest, &box, &QDialog::reject);
    box.exec();
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
    const std::string token = views::activationTokenOfProcess();
    std::signal(SIGPIPE, SIG_IGN);
    if (!hasDisplay(argc, argv)) {
        std::fprintf(
            stderr,
            "morvane-desktop: there is no display. Start it in a desktop session, or use the command "
            "\"morvane\".\n");
        return EXIT_FAILURE;
    }
    QApplication application(argc, argv);
    // A display that can't be opened is no crash of ours.
    crash_reports::writeOwnReports(Folders::fromEnvironment());
    QApplication::setApplicationName("Morvane");
    QApplication::setDesktopFileName("app.morvane.Morvane");

    // The toolkit has taken its own arguments; names of files keep all of their bytes.
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const bool service = std::erase(arguments, serviceOption) > 0;
    std::optional<views::StartRequest> request;
    if (arguments.size() == 2 && arguments[0] == actionOption) {
        request = views::requestOfAction(arguments[1]);
        if (!request) {
            std::fprintf(stderr, "morvane-desktop: there is no action \"%s\".\n", arguments[1].c_str());
            return EXIT_FAILURE;
        }
        request->activationToken = token;
    } else if (!service || !arguments.empty()) {
        request = views::requestOfArguments(arguments, std::filesystem::current_path().string());
        request->activationToken = token;
    }
    views::SingleInstance instance(views::SingleInstance::Options::ofProcess(Folders::fromEnvironment()));
    const auto role = instance.begin(request);
    if (!role) {
        tellOfFailure(role.error());
        return EXIT_FAILURE;
    }
    if (*role == views::SingleInstance::Role::second) return EXIT_SUCCESS;

    views::DesktopInterface interface;
    Host host(optionsOfProcess(), interface);
    if (host.texts.writesRightToLeft()) QApplication::setLayoutDirection(Qt::RightToLeft);
    if (const auto& trouble = instance.trouble()) {
        host.log.write(Log::Level::warning, "other starts are not heard: " + trouble->message());
    }
    EmbeddedSites::completeFromSettings();
    EmbeddedSites sites(
        [](const std::string& text) { morvane::host().log.write(Log::Level::warning, text); });
    QApplication::setWindowIcon(QIcon::fromTheme(
        "app.morvane.Morvane", QIcon(views::toQt(host.folders.resources + "/app.morvane.Morvane.svg"))));
    views::theme::apply(application, views::theme::Scheme::system);
    {
        const views::CoreLoop loop;
        views::DesktopShell shell(interface);
        const auto progress = std::make_shared<NSProgressView>();
        AppDelegate app(shell, progress);
        views::MainWindow window(app, progress);
        interface.setMainWindow(&window, &window.progressPanel());
        shell.setMainWindow(&window);
        if (!service) window.show();
        // Nobody has asked for anything: the bus starts it again when somebody does.
        QTimer unused;
        unused.setSingleShot(true);
        QObject::connect(&unused, &QTimer::timeout, &application, &QApplication::quit);
        if (service) unused.start(longestWaitAsService);
        // The first picture does not wait for servers and lists.
        QTimer::singleShot(0, &application, [&] {
            sites.provide();
            instance.setHandler([&](const views::StartRequest& asked) {
                unused.stop();
                serve(asked, app, shell, window);
            });
            // It may ask, and others reach us meanwhile.
            app.applicationDidFinishLaunching();
        });
        QApplication::exec();
        instance.stop();
        app.applicationWillTerminate();
        shell.setMainWindow(nullptr);
        interface.setMainWindow(nullptr, nullptr);
    }
    sites.cancel();
    endSoon();
    return EXIT_SUCCESS;
}
