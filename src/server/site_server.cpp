#include "server/site_server.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/annotations.h"
#include "platform/files.h"
#include "server/http_listener.h"

namespace morvane {
namespace {

constexpr std::string_view archiveEnding = ".tar.7z";

/// One visible name, not a way to another folder.
bool isPlainName(const std::string& name) {
    return !name.empty() && name.front() != '.' && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

}  // namespace

struct SiteServer::State {
    explicit State(Content served) : content(std::move(served)) {}

    Content content;
    /// Held while a callback runs.
    Mutex mutex;
    /// Last: its threads end before what they use.
    HttpListener listener;

    void route() {
        listener.server.Get("/Wrapper/(.+)",
                            [this](const httplib::Request& request, httplib::Response& response) {
                                answerFromFolder(request.matches[1], response);
                            });
        listener.server.Get("/Engines/EngineList.txt",
                            [this](const httplib::Request&, httplib::Response& response) {
                                std::string list;
                                const MutexLock lock(mutex);
                                for (const std::string& name : content.engineNames()) list += name + "\n";
                                response.set_content(list, "text/plain; charset=utf-8");
                            });
        listener.server.Get("/Engines/(.+)",
                            [this](const httplib::Request& request, httplib::Response& response) {
                                answerWithEngine(request.matches[1], response);
                            });
    }

    void answerFromFolder(const std::string& name, httplib::Response& response) const {
        const std::string path = content.siteFolder + "/Wrapper/" + name;
        if (isPlainName(name) && files::kindOf(path) == files::Kind::file)
            return http_answers::file(path, response);
        response.status = 404;
    }

    void answerWithEngine(const std::string& file, httplib::Response& response) {
        response.status = 404;
        if (!isPlainName(file) || !file.ends_with(archiveEnding)) return;
        const std::string name = file.substr(0, file.size() - archiveEnding.size());
        std::string archive;
        {
            const MutexLock lock(mutex);
            // Only what the list names reaches the callback.
            const std::vector<std::string> names = content.engineNames();
            if (std::find(names.begin(), names.end(), name) == names.end()) return;
            const auto made = content.engineArchive(name);
            if (failureOf(made) != nullptr) return;
            archive = std::get<std::string>(made);
        }
        response.status = -1;  // the library's "not set yet"
        http_answers::file(archive, response);
    }
};

SiteServer::SiteServer(Content content) : state_(std::make_unique<State>(std::move(content))) {
    state_->route();
    state_->listener.listenOn("127.0.0.1", 0);
}

SiteServer::~SiteServer() = default;

std::string SiteServer::baseAddress() const {
    return state_->listener.port() > 0 ? "http://127.0.0.1:" + std::to_string(state_->listener.port()) + "/"
                                       : std::string();
}

}  // namespace morvane
