#include "server/site_server.h"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <future>
#include <map>
#include <string_view>
#include <thread>
#include <utility>

#include "platform/annotations.h"
#include "platform/files.h"

namespace morvane {
namespace {

constexpr std::size_t threads = 4;
/// A client that reads nothing holds a thread for no longer than this.
constexpr time_t secondsPerWrite = 5;
constexpr const char* binary = "application/octet-stream";
constexpr std::string_view archiveEnding = ".tar.7z";

/// One visible name, not a way to another folder.
bool isPlainName(const std::string& name) {
    return !name.empty() && name.front() != '.' && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

/// Answers with the file, read as it is sent: archives are larger than what should be held in memory.
void answerWithFile(const std::string& path, httplib::Response& response) {
    const auto size = files::size(path);
    const auto file = std::make_shared<std::ifstream>(path, std::ios::binary);
    if (!size || !file->is_open()) {
        response.status = 404;
        return;
    }
    if (*size == 0) return response.set_content("", binary);
    const auto send = [file](std::size_t place, std::size_t left, httplib::DataSink& sink) {
        std::array<char, 1 << 16> block{};
        file->seekg(static_cast<std::streamoff>(place));
        file->read(block.data(), static_cast<std::streamsize>(std::min(left, block.size())));
        const auto count = static_cast<std::size_t>(file->gcount());
        return count > 0 && sink.write(block.data(), count);
    };
    response.set_content_provider(*size, binary, send);
}

}  // namespace

struct SiteServer::State {
    explicit State(Content served) : content(std::move(served)) {}

    Content content;
    httplib::Server server;
    int port = -1;
    std::thread thread;
    /// Held while a callback runs.
    Mutex mutex;

    void route() {
        server.Get("/Wrapper/(.+)", [this](const httplib::Request& request, httplib::Response& response) {
            answerFromFolder(request.matches[1], response);
        });
        server.Get("/Engines/EngineList.txt", [this](const httplib::Request&, httplib::Response& response) {
            std::string list;
            const MutexLock lock(mutex);
            for (const std::string& name : content.engineNames()) list += name + "\n";
            response.set_content(list, "text/plain; charset=utf-8");
        });
        server.Get("/Engines/(.+)", [this](const httplib::Request& request, httplib::Response& response) {
            answerWithEngine(request.matches[1], response);
        });
    }

    void answerFromFolder(const std::string& name, httplib::Response& response) const {
        const std::string path = content.siteFolder + "/Wrapper/" + name;
        if (isPlainName(name) && files::kindOf(path) == files::Kind::file)
            return answerWithFile(path, response);
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
        answerWithFile(archive, response);
    }

    /// Returns once the server can be stopped again.
    void start() {
        std::promise<void> running;
        server.new_task_queue = [&running]() -> httplib::TaskQueue* {
            auto queue = std::make_unique<httplib::ThreadPool>(threads);
            running.set_value();
            return queue.release();
        };
        thread = std::thread([this] { server.listen_after_bind(); });
        running.get_future().wait();
    }
};

SiteServer::SiteServer(Content content) : state_(std::make_unique<State>(std::move(content))) {
    State& state = *state_;
    state.route();
    // A connection that idles between two requests would hold up the end.
    state.server.set_keep_alive_max_count(1);
    state.server.set_write_timeout(secondsPerWrite);
    state.server.set_read_timeout(secondsPerWrite);
    state.port = state.server.bind_to_any_port("127.0.0.1");
    if (state.port > 0) state.start();
}

SiteServer::~SiteServer() {
    if (!state_->thread.joinable()) return;
    state_->server.stop();
    state_->thread.join();
}

std::string SiteServer::baseAddress() const {
    return state_->port > 0 ? "http://127.0.0.1:" + std::to_string(state_->port) + "/" : std::string();
}

}  // namespace morvane
