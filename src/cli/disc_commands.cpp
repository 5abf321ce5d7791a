#include "cli/commands.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "platform/json.h"
#include "wrapper/partitions.h"

namespace morvane::cli {

int listDiscs(Session& session) {
    return session.onWorker([&] {
        Array list;
        std::string lines;
        for (const auto& [identifier, text] : NSPartitionMounter::mountableDisksList()) {
            list.push_back(Dictionary{{"identifier", identifier}, {"text", text}});
            lines += identifier + "\t" + text + "\n";
        }
        if (session.console().output() == Output::json) {
            session.console().print(jsonText(Value(list)));
        } else if (lines.empty()) {
            session.console().say(localized("There is no disc with an Apple partition map."));
        } else {
            session.console().print(lines);
        }
        return static_cast<int>(done);
    });
}

int mountDisc(Session& session, const std::string& identifier) {
    using NSPartitionMounter::Mounting;
    return session.onWorker([&] {
        const Mounting mounting = identifier.empty() ? NSPartitionMounter::mountWindowsPartition()
                                                     : NSPartitionMounter::mountAndOpenDiscWithID(identifier);
        if (mounting == Mounting::cancelled) return static_cast<int>(cancelled);
        if (mounting == Mounting::impossible) return static_cast<int>(failed);
        const std::string folder = NSPartitionMounter::mountPoint();
        const auto names = files::list(folder);
        const bool isMounted = names && !names->empty();
        return isMounted ? static_cast<int>(done)
                         : session.fail(localized("Nothing is mounted at %@.", {folder}));
    });
}

}  // namespace morvane::cli
