#include "building/needed_resources.h"
#include "cli/commands.h"
#include "cli/table.h"
#include "foundation/localization.h"

namespace morvane::cli {

int resources(Session& session, FixResources fix) {
    session.provideSite();
    return session.onWorker([&] {
        NSNeededResourcesWindow window(session.progress());
        window.reloadContents();
        if (fix == FixResources::yes) {
            for (std::size_t row = 0; row < window.rows().size(); ++row) window.fixRow(row);
        }
        Table table{{{"title", marked("What is needed")}, {"symbol", ""}, {"action", marked("Action")}}, {}};
        bool complete = true;
        for (const NSNeededResourcesWindow::Row& row : window.rows()) {
            const bool isMissing = row.status == NSNeededResourcesWindow::Status::missing;
            complete = complete && !isMissing;
            table.rows.push_back({row.title, row.symbol, isMissing ? "morvane resources --fix" : row.action});
        }
        printTable(session.console(), table);
        return complete ? static_cast<int>(done) : static_cast<int>(failed);
    });
}

}  // namespace morvane::cli
