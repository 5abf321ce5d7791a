#include "server/site_server.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/annotations.h"
#include "platform/files.h"
#include "server/http_listener.h"

namespace morvane {
namespace {

constexpr std::string_view archiveEnding = ".tar.7z", engines = "/Engines/";
const HttpAnswer notFound{.status = 404};

/// One visible name, not a way to another folder.
bool isPlainName(const std::string& name) {
    return !name.empty() && name.front() != '.' && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

}  // namespace

struct SiteServer::State {
    explicit State(Content served)
        : content(std::move(served)),
          // An engine is packed while its request waits, and holds the others of its kind up.
          listener({.isSlow = [](const HttpQuery& query) { return query.path.starts_with(engines); }},
                   [this](const HttpQuery& query) { return answerTo(query); }) {}

    Content content;
    /// Held while a callback runs.
    Mutex mutex;
    /// Last: its threads end before what they use.
    HttpListener listener;

    HttpAnswer answerTo(const HttpQuery& query) {
        constexpr std::string_view wrappers = "/Wrapper/", list = "/Engines/EngineList.txt";
        if (query.method == "POST") return notFound;
        if (query.path.starts_with(wrappers)) return fileOfFolder(query.path.substr(wrappers.size()));
        if (query.path == list) return engineList();
        if (query.path.starts_with(engines)) return engine(query.path.substr(engines.size()));
        return notFound;
    }

    [[nodiscard]] HttpAnswer fileOfFolder(const std::string& name) const {
        const std::string path = content.siteFolder + "/Wrapper/" + name;
        const bool isThere = isPlainName(name) && files::kindOf(path) == files::Kind::file;
        return isThere ? HttpAnswer::ofFile(path) : notFound;
    }

    HttpAnswer engineList() {
        std::string list;
        const MutexLock lock(mutex);
        for (const std::string& name : content.engineNames()) list += name + "\n";
        return HttpAnswer::of(std::move(list), "text/plain; charset=utf-8");
    }

    HttpAnswer engine(const std::string& file) {
        if (!isPlainName(file) || !file.ends_with(archiveEnding)) return notFound;
        const std::string name = file.substr(0, file.size() - archiveEnding.size());
        const MutexLock lock(mutex);
        // Only what the list names reaches the callback.
        const std::vector<std::string> names = content.engineNames();
        if (std::find(names.begin(), names.end(), name) == names.end()) return notFound;
        const auto made = content.engineArchive(name);
        return made ? HttpAnswer::ofFile(*made) : notFound;
    }
};

SiteServer::SiteServer(Content content) : state_(std::make_unique<State>(std::move(content))) {
    state_->listener.listenOn("127.0.0.1", 0);
}

SiteServer::~SiteServer() = default;

std::string SiteServer::baseAddress() const {
    return state_->listener.port() > 0 ? "http://127.0.0.1:" + std::to_string(state_->listener.port()) + "/"
                                       : std::string();
}

}  // namespace morvane
