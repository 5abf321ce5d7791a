#include <mutex>

#include "cli/commands.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "server/catalogue_server.h"

namespace morvane::cli {

namespace {

constexpr std::size_t serverThreads = 32;

std::optional<std::string> expanded(const std::optional<std::string>& path) {
    return path ? std::optional(expandedPath(*path)) : std::nullopt;
}

/// Of a folder that holds one: a name that was mistyped is no empty catalogue.
Result<std::unique_ptr<CatalogueStore>> existingCatalogue(const std::string& folder) {
    if (files::kindBehind(folder + "/catalogue.db") != files::Kind::file)
        return Failure{localized("There is no catalogue in %@.", {folder})};
    return CatalogueStore::open(folder);
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

int withdraw(Session& session, const std::string& folder, const std::vector<std::string>& ids) {
    return session.onWorker([&]() -> int {
        const auto store = existingCatalogue(expandedPath(folder));
        if (!store) return session.fail(store.error());
        for (const std::string& text : ids) {
            const auto id = MVString::initialIntValue(text);
            if (std::to_string(id) != text) return session.fail(localized("%@ is no ID.", {text}));
            if (const auto done = (*store)->withdraw(id); !done) return session.fail(done.error());
        }
        return done;
    });
}

int exportCatalogue(Session& session, const std::string& folder, const CatalogueExport& to) {
    return session.onWorker([&]() -> int {
        const auto store = existingCatalogue(expandedPath(folder));
        if (!store) return session.fail(store.error());
        const auto exported =
            morvane::exportCatalogue(**store, {.folder = expandedPath(to.folder), .live = to.live});
        if (!exported) return session.fail(exported.error());
        const ExportedCatalogue& outcome = *exported;
        session.console().print(
            localized("%@ ports; %@ files written, %@ unchanged, %@ removed",
                      {std::to_string(outcome.ports), std::to_string(outcome.written),
                       std::to_string(outcome.unchanged), std::to_string(outcome.removed)}));
        return done;
    });
}

}  // namespace morvane::cli
