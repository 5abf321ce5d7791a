#include <algorithm>
#include <string_view>

#include "cli/application.h"
#include "cli/commands.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/percent_coding.h"

namespace morvane::cli {

namespace {

/// File managers hand over files as addresses.
std::string pathOfFileLink(std::string_view link) {
    link.remove_prefix(std::string_view("file://").size());
    link.remove_prefix(std::min(link.find('/'), link.size()));
    return percent::decoded(link);
}

}  // namespace

int open(Session& session, const std::string& given) {
    const std::string what = given.starts_with("file://") ? pathOfFileLink(given) : given;
    const bool isLink = MVString::contains(what, "://"), isPort = what.ends_with(".cki");
    const std::string path = expandedPath(what);
    if (!isLink && !MVFileManager::fileExistsAtPath(path))
        return session.fail(localized("There is nothing at %@.", {path}));
    Application application(session);
    if (isPort && !isLink) {
        return application.install([&](AppActions& actions) { actions.openFile(path); });
    }
    session.provideSite();
    bool handled = false;
    const int ended = application.run([&](AppDelegate& app) {
        if (isLink) return app.actions().handleURLEvent(what);
        handled = app.actions().openFile(path);
    });
    if (ended != done) return ended;
    if (isLink) handled = application.delegate().gamePage().gameData() != nullptr;
    if (handled) return done;
    return session.fail(localized(
        "%@ was not opened: it is no port (.cki, in small letters), no Windows program (.exe) and no application (.app, in small letters).",
        {what}));
}

}  // namespace morvane::cli
