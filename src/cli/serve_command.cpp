#include <mutex>

#include "cli/commands.h"
#include "server/catalogue_server.h"

namespace morvane::cli {

namespace {

constexpr std::size_t serverThreads = 32;

std::optional<std::string> expanded(const std::optional<std::string>& path) {
    return path ? std::optional(expandedPath(*path)) : std::nullopt;
}

}  // namespace

int serve(Session& session, const std::string& folder, const std::string& address, BehindProxy behindProxy,
          std::int64_t votesPerHour) {
    std::mutex complaining;
    CatalogueServer::Options options;
    options.content = expandedPath(folder);
    options.listen = address;
    options.threads = serverThreads;
    options.votesPerHour = votesPerHour;
    options.behindProxy = behindProxy == BehindProxy::yes;
    options.complain = [&](const std::string& reason) {
        const std::lock_guard lock(complaining);
        session.console().say(reason);
    };
    std::unique_ptr<CatalogueServer> server;
    return session.untilAskedToEnd([&] {
        auto started = CatalogueServer::start(options);
        if (!started) return session.fail(started.error());
        server = *std::move(started);
        session.console().print(server->baseAddress());
        return static_cast<int>(done);
    });
}

int publish(Session& session, const std::string& folder, const PortToPublish& given) {
    return session.onWorker([&]() -> int {
        PortToPublish port = given;
        port.cki = expanded(given.cki);
        port.description = expanded(given.description);
        port.icon = expanded(given.icon);
        auto store = CatalogueStore::open(expandedPath(folder));
        if (!store) return session.fail(store.error());
        const auto id = publishPort(**store, port);
        if (!id) return session.fail(id.error());
        session.console().print(std::to_string(*id));
        return done;
    });
}

}  // namespace morvane::cli
