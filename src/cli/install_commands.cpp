#include "app/app_actions.h"
#include "cli/application.h"
#include "cli/commands.h"
#include "foundation/localization.h"
#include "platform/files.h"

namespace morvane::cli {

namespace {

std::string withAppEnding(const std::string& path) {
    return path.ends_with(".app") ? path : path + ".app";
}

}  // namespace

int install(Session& session, const std::string& file, const std::string& to, const std::string& lock) {
    PortFile port{.path = expandedPath(file)};
    // Before anybody reads a licence.
    if (files::kindBehind(port.path) != files::Kind::file)
        return session.fail(localized("There is no file at %@.", {port.path}));
    if (!lock.empty()) {
        auto read = BuildRecord::readLock(expandedPath(lock));
        if (!read) return session.fail(read.error());
        port.lock = *std::move(read);
    }
    if (!to.empty()) port.place = withAppEnding(expandedPath(to));
    return Application(session).install([&](AppActions& actions) { actions.installCkiFile(port); });
}

int blank(Session& session, const std::string& path, const NSCustomPortView& view) {
    const BlankPort blank{.place = withAppEnding(expandedPath(path)), .view = view};
    return Application(session).install([&](AppActions& actions) { actions.createBlankWrapper(blank); });
}

}  // namespace morvane::cli
