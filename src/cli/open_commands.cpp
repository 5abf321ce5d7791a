#include <algorithm>
#include <string_view>

#include "app/app_delegate.h"
#include "cli/commands.h"
#include "foundation/file_manager.h"
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
    void portInstalled(const std::string& wrapper) override { installed = wrapper; }

    std::string installed;

  private:
    Console& console_;
};

int hexDigit(char digit) {
    const std::string_view digits = "0123456789abcdef";
    const auto place = digits.find(MVString::lowercased(std::string(1, digit)));
    return place == std::string_view::npos ? -1 : static_cast<int>(place);
}

/// File managers hand over files as addresses.
std::string pathOfFileLink(std::string_view link) {
    link.remove_prefix(std::string_view("file://").size());
    link.remove_prefix(std::min(link.find('/'), link.size()));
    std::string path;
    for (std::size_t place = 0; place < link.size(); ++place) {
        const bool isEscape = link[place] == '%' && place + 2 < link.size() &&
                              hexDigit(link[place + 1]) >= 0 && hexDigit(link[place + 2]) >= 0;
        path += isEscape ? static_cast<char>(hexDigit(link[place + 1]) * 16 + hexDigit(link[place + 2]))
                         : link[place];
        if (isEscape) place += 2;
    }
    return path;
}

}  // namespace

int open(Session& session, const std::string& given) {
    const std::string what = given.starts_with("file://") ? pathOfFileLink(given) : given;
    session.provideSite();
    TerminalShell shell(session.console());
    AppDelegate app(shell, session.progress());
    const bool isLink = MVString::contains(what, "://"), isPort = what.ends_with(".cki");
    if (!isLink && !MVFileManager::fileExistsAtPath(expandedPath(what)))
        return session.fail("There is nothing at " + expandedPath(what) + ".");
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
    return session.fail(
        what +
        " was not opened: it is no port (.cki, in small letters), no Windows program (.exe) and "
        "no application (.app, in small letters).");
}

}  // namespace morvane::cli
