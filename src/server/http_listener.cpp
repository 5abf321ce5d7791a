#include "server/http_listener.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <future>
#include <memory>

#include "platform/files.h"

namespace morvane {
namespace {

constexpr std::size_t threads = 4;
/// A client that reads nothing holds a thread for no longer than this.
constexpr time_t secondsPerWrite = 5;
constexpr const char* binary = "application/octet-stream";

}  // namespace

HttpListener::~HttpListener() {
    if (!thread_.joinable()) return;
    server.stop();
    thread_.join();
}

bool HttpListener::listenOn(const std::string& address, int port) {
    // A connection that idles between two requests would hold up the end.
    server.set_keep_alive_max_count(1);
    server.set_write_timeout(secondsPerWrite);
    server.set_read_timeout(secondsPerWrite);
    // The library's own choice would let a second server take the same port, and half of the requests.
    server.set_socket_options([](socket_t socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    if (port == 0) {
        port_ = server.bind_to_any_port(address);
    } else {
        port_ = server.bind_to_port(address, port) ? port : -1;
    }
    if (port_ > 0) start();
    return port_ > 0;
}

/// Returns once the server can be stopped again.
void HttpListener::start() {
    std::promise<void> running;
    server.new_task_queue = [&running]() -> httplib::TaskQueue* {
        auto queue = std::make_unique<httplib::ThreadPool>(threads);
        running.set_value();
        return queue.release();
    };
    thread_ = std::thread([this] { server.listen_after_bind(); });
    running.get_future().wait();
}

void http_answers::file(const std::string& path, httplib::Response& response) {
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

}  // namespace morvane
