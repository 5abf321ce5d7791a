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
        if (const Failure* failure = failureOf(started)) return session.fail(failure->message);
        server = std::get<0>(std::move(started));
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
        if (const Failure* failure = failureOf(store)) return session.fail(failure->message);
        const auto id = publishPort(*std::get<0>(store), port);
        if (const Failure* failure = failureOf(id)) return session.fail(failure->message);
        session.console().print(std::to_string(std::get<std::int64_t>(id)));
        return done;
    });
}

}  // namespace morvane::cli
