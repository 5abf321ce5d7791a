#include <algorithm>
#include <string_view>

#include "app/app_delegate.h"
#include "cli/commands.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/host.h"
#include "platform/percent_coding.h"

namespace morvane::cli {

namespace {

/// What the application shows while a file or a link is opened in the terminal.
class TerminalShell : public ShellView {
  public:
    explicit TerminalShell(Console& console) : console_(console) {}

    void showWindow(const NSDescriptionView::HtmlWindow& window) override {
        if (!window.link.empty()) console_.say(window.name + ": " + window.link);
    }
    void portInstalled(const std::string& wrapper) override { installed = wrapper; }

    std::string installed;

  private:
    Console& console_;
};

/// File managers hand over files as addresses.
std::string pathOfFileLink(std::string_view link) {
    link.remove_prefix(std::string_view("file://").size());
    link.remove_prefix(std::min(link.find('/'), link.size()));
    return percent::decoded(link);
}

}  // namespace

int open(Session& session, const std::string& given) {
    const std::string what = given.starts_with("file://") ? pathOfFileLink(given) : given;
    session.provideSite();
    TerminalShell shell(session.console());
    AppDelegate app(shell, session.progress());
    const bool isLink = MVString::contains(what, "://"), isPort = what.ends_with(".cki");
    if (!isLink && !MVFileManager::fileExistsAtPath(expandedPath(what)))
        return session.fail(localized("There is nothing at %@.", {expandedPath(what)}));
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
    if (isPort && !shell.installed.empty()) return finished(session, shell.installed);
    if (isPort) handled = false;
    if (handled) return done;
    if (isPort) return session.endedWithoutResult();
    return session.fail(localized(
        "%@ was not opened: it is no port (.cki, in small letters), no Windows program (.exe) and no application (.app, in small letters).",
        {what}));
}

}  // namespace morvane::cli
