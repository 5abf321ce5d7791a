#include "server/http_listener.h"

#include <netdb.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <deque>
#include <fstream>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/annotations.h"
#include "platform/files.h"

namespace morvane {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds betweenRequests{5000}, ofItsOwn{1000};
constexpr seconds toBegin{10};                       // a request, or an answer, may rest this long in all...
constexpr std::size_t slowestBytesPerSecond = 4096;  // ... beyond what this speed takes
constexpr std::size_t requestsPerConnection = 1000;
constexpr std::size_t mostHeaderBytes = 1 << 16;
constexpr std::size_t waitingPerThread = 16;
constexpr int backlog = 1024;

/// The socket of one client. Every wait ends when its time is over or the server does.
class Connection : public httplib::Stream {
  public:
    Connection(socket_t socket, int ending, int crowd, std::size_t mostBytes)
        : socket_(socket), ending_(ending), crowd_(crowd), mostBytes_(mostBytes) {}

    /// Whether another request begins in time, and before others need the thread.
    bool awaitRequest() {
        const auto now = Clock::now();
        // The thread is there for the first request. Between two it is of more use to others, but a client
        // that goes on at once must not run into a closing connection.
        const auto mine = now + (std::exchange(first_, false) ? betweenRequests : ofItsOwn);
        const bool begun =
            at_ < filled_ || await(POLLIN, mine) || await(POLLIN, now + betweenRequests, crowd_);
        begun_ = Clock::now();
        received_ = sent_ = 0;
        return begun;
    }

    [[nodiscard]] bool is_readable() const override {
        return at_ < filled_ || await(POLLIN, deadline(received_));
    }
    [[nodiscard]] bool is_writable() const override { return await(POLLOUT, deadline(sent_)); }

    ssize_t read(char* bytes, std::size_t size) override {
        if (at_ == filled_ && !fill()) return failed_ ? -1 : 0;
        const std::size_t count = std::min(size, filled_ - at_);
        std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(at_), count, bytes);
        at_ += count;
        return static_cast<ssize_t>(count);
    }

    ssize_t write(const char* bytes, std::size_t size) override {
        // The answer's time begins with its first byte: what the server needs is not the client's fault.
        if (sent_ == 0) begun_ = Clock::now();
        while (is_writable()) {
            const ssize_t count = ::send(socket_, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (count > 0) sent_ += static_cast<std::size_t>(count);
            if (count >= 0 || (errno != EAGAIN && errno != EINTR)) return count;
        }
        return -1;
    }

    void get_remote_ip_and_port(std::string& ip, int& port) const override {
        addressOf(::getpeername, ip, port);
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override {
        addressOf(::getsockname, ip, port);
    }
    [[nodiscard]] socket_t socket() const override { return socket_; }

  private:
    [[nodiscard]] Clock::time_point deadline(std::size_t bytes) const {
        return begun_ + toBegin + seconds(bytes / slowestBytesPerSecond);
    }

    static constexpr int none = -1;  // of descriptors

    [[nodiscard]] bool await(short events, Clock::time_point until, int crowd = none) const {
        for (;;) {
            const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
            if (left <= milliseconds(0)) return false;
            std::array<pollfd, 3> polled = {pollfd{socket_, events, 0}, pollfd{ending_, POLLIN, 0},
                                            pollfd{crowd, POLLIN, 0}};
            const int ready = ::poll(polled.data(), polled.size(), static_cast<int>(left.count()));
            if (ready < 0 && errno != EINTR) return false;
            if (polled[1].revents != 0) return false;
            if (polled[0].revents != 0) return true;
            if (polled[2].revents != 0) return false;
        }
    }

    bool fill() {
        failed_ = true;
        if (received_ >= mostBytes_ || !is_readable()) return false;
        const ssize_t count = ::recv(socket_, buffer_.data(), buffer_.size(), 0);
        failed_ = count < 0;
        if (count <= 0) return false;
        at_ = 0;
        filled_ = static_cast<std::size_t>(count);
        received_ += filled_;
        return true;
    }

    void addressOf(int (*name)(int, sockaddr*, socklen_t*), std::string& ip, int& port) const {
        sockaddr_storage address{};
        socklen_t length = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        std::array<char, NI_MAXHOST> host{};
        std::array<char, NI_MAXSERV> service{};
        if (name(socket_, generic, &length) != 0) return;
        if (::getnameinfo(generic, length, host.data(), host.size(), service.data(), service.size(),
                          NI_NUMERICHOST | NI_NUMERICSERV) != 0)
            return;
        ip = host.data();
        port = std::atoi(service.data());
    }

    const socket_t socket_;
    const int ending_, crowd_;
    const std::size_t mostBytes_;
    bool first_ = true;
    std::array<char, 1 << 14> buffer_{};
    std::size_t at_ = 0, filled_ = 0, received_ = 0, sent_ = 0;
    bool failed_ = false;
    Clock::time_point begun_;
};

/// Threads that take connections in the order of their coming. Beyond a number of them the accepting thread
/// waits, and with it the clients in the system's own queue.
class BoundedQueue : public httplib::TaskQueue {
  public:
    BoundedQueue(BoundedServer& server, std::size_t threads)
        : server_(server), most_(threads * waitingPerThread) {
        while (threads_.size() < threads) threads_.emplace_back([this] { work(); });
    }

    void enqueue(std::function<void()> task) override {
        const MutexLock lock(mutex_);
        while (tasks_.size() >= most_) room_.wait(mutex_);
        tasks_.push_back(std::move(task));
        server_.setCrowded(tasks_.size() > idle_);
        work_.notify_one();
    }

    void shutdown() override {
        {
            const MutexLock lock(mutex_);
            ending_ = true;
        }
        work_.notify_all();
        for (std::thread& thread : threads_) thread.join();
    }

  private:
    void work() {
        for (;;) {
            std::function<void()> task;
            {
                const MutexLock lock(mutex_);
                ++idle_;
                while (tasks_.empty() && !ending_) work_.wait(mutex_);
                --idle_;
                if (tasks_.empty()) return;
                task = std::move(tasks_.front());
                tasks_.pop_front();
                server_.setCrowded(tasks_.size() > idle_);
            }
            room_.notify_one();
            task();
        }
    }

    BoundedServer& server_;
    const std::size_t most_;
    Mutex mutex_;
    Condition work_, room_;
    std::deque<std::function<void()>> tasks_ MV_GUARDED_BY(mutex_);
    std::size_t idle_ MV_GUARDED_BY(mutex_) = 0;
    bool ending_ MV_GUARDED_BY(mutex_) = false;
    std::vector<std::thread> threads_;
};

}  // namespace

BoundedServer::BoundedServer(std::size_t threads)
    : ending_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), crowd_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    // The head and the body of an answer are written apart.
    set_tcp_nodelay(true);
    // The library's own choice would let a second server take the same port, and half of the requests.
    set_socket_options([](socket_t socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    new_task_queue = [this, threads]() -> httplib::TaskQueue* {
        auto queue = std::make_unique<BoundedQueue>(*this, threads);
        started_.set_value();
        return queue.release();
    };
}

void BoundedServer::limitBody(std::size_t bytes) {
    bodyLimit_ = bytes;
    set_payload_max_length(bytes);
}

void BoundedServer::setCrowded(bool crowded) {
    if (crowded_.exchange(crowded) == crowded) return;
    eventfd_t count = 0;
    // Readable for as long as it is so.
    if (crowded) {
        ::eventfd_write(crowd_.get(), 1);
    } else {
        ::eventfd_read(crowd_.get(), &count);
    }
}

bool BoundedServer::serve() {
    if (::listen(svr_sock_, backlog) != 0) return false;
    thread_ = std::thread([this] { listen_after_bind(); });
    // From then on it can be stopped again.
    started_.get_future().wait();
    return true;
}

void BoundedServer::end() {
    if (!thread_.joinable()) return;
    ::eventfd_write(ending_.get(), 1);
    stop();
    thread_.join();
}

bool BoundedServer::process_and_close_socket(socket_t socket) {
    Connection connection(socket, ending_.get(), crowd_.get(), bodyLimit_ + mostHeaderBytes);
    bool closed = false;
    for (std::size_t left = requestsPerConnection; left > 0 && connection.awaitRequest(); --left) {
        const bool last = left == 1 || crowded_;
        if (!process_request(connection, last, closed, nullptr) || last || closed) break;
    }
    ::shutdown(socket, SHUT_RDWR);
    ::close(socket);
    return true;
}

HttpListener::~HttpListener() {
    server.end();
}

bool HttpListener::listenOn(const std::string& address, int port) {
    if (port == 0) {
        port_ = server.bind_to_any_port(address);
    } else {
        port_ = server.bind_to_port(address, port) ? port : -1;
    }
    if (port_ > 0 && !server.serve()) port_ = -1;
    return port_ > 0;
}

void http_answers::file(const std::string& path, httplib::Response& response,
                        const std::string& contentType) {
    const auto size = files::size(path);
    const auto file = std::make_shared<std::ifstream>(path, std::ios::binary);
    if (!size || !file->is_open()) {
        response.status = 404;
        return;
    }
    if (*size == 0) return response.set_content("", contentType);
    const auto send = [file](std::size_t place, std::size_t left, httplib::DataSink& sink) {
        std::array<char, 1 << 16> block{};
        file->seekg(static_cast<std::streamoff>(place));
        file->read(block.data(), static_cast<std::streamsize>(std::min(left, block.size())));
        const auto count = static_cast<std::size_t>(file->gcount());
        return count > 0 && sink.write(block.data(), count);
    };
    response.set_content_provider(*size, contentType, send);
}

}  // namespace morvane
