#include "app/app_delegate.h"
#include "cli/commands.h"
#include "foundation/text.h"
#include "platform/host.h"

namespace morvane::cli {

namespace {

/// What the application shows while a file or a link is opened in the terminal.
class TerminalShell : public ShellView {
  public:
    explicit TerminalShell(Console& console) : console_(console) {}

    void showWindow(const NSDescriptionView::HtmlWindow& window) override {
        if (!window.link.empty()) console_.say(window.name + ": " + window.link);
    }
    void portInstalled(const std::string& wrapper) override {
        installed = true;
        console_.print("The wrapper is " + wrapper + "\nStart it with: morvane run '" + wrapper + "'");
    }

    bool installed = false;

  private:
    Console& console_;
};

}  // namespace

int open(Session& session, const std::string& what) {
    session.provideSite();
    TerminalShell shell(session.console());
    AppDelegate app(shell, session.progress());
    const bool isLink = MVString::contains(what, "://"), isPort = what.ends_with(".cki");
    bool handled = false;
    const int ended = session.untilIdle([&] {
        AppDelegate::verifyNeededFolders();
        app.apps().loadLocalAppsBlock([&] {
            if (isLink) return app.handleURLEvent(what);
            handled = app.openFile(expandedPath(what));
        });
        return int{done};
    });
    if (ended != done) return ended;
    if (isLink) handled = app.gamePage().gameData() != nullptr;
    if (isPort) handled = shell.installed;
    return handled ? int{done} : session.fail(what + " was not opened.");
}

}  // namespace morvane::cli
