#include "cli/installed_app.h"

#include <algorithm>
#include <vector>

#include "cli/terminal_interface.h"
#include "foundation/localization.h"
#include "library/apps_questions.h"

namespace morvane::cli {

int withInstalledApp(Session& session, const std::string& given,
                     const std::function<int(const std::string& app)>& command) {
    std::string path = expandedPath(given);
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    const auto items = local_items::storedItems();
    const bool isListed = std::ranges::find(items, path, &LocalItem::path) != items.end();
    if (!isListed || !local_items::isMissing(path)) return command(given);

    NSAppsArray apps;
    std::vector<std::string> located;
    const int ended = session.untilIdle([&] {
        const auto refuseCki = [&](const std::string& cki) {
            session.fail(localized("%@ is a port description, and no installed app.", {cki}));
        };
        apps.loadLocalAppsBlock(
            [&] { located = apps_questions::askAboutMissingApp(apps, path, refuseCki, {}); });
        return int{done};
    });
    if (ended != done) return ended;
    std::erase_if(located, local_items::isMissing);
    if (!located.empty()) return command(located.front());
    return session.fail(localized("There is nothing at %@.", {path}));
}

}  // namespace morvane::cli
