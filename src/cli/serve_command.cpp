#include "cli/commands.h"
#include "server/content_server.h"

namespace morvane::cli {

int serve(Session& session, const std::string& folder, const std::string& address) {
    ContentServer server(expandedPath(folder));
    return session.untilAskedToEnd([&] {
        if (const auto failure = server.listenOn(address)) return session.fail(failure->message);
        session.console().print(server.baseAddress());
        return static_cast<int>(done);
    });
}

}  // namespace morvane::cli
