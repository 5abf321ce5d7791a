#include "support/loopback_site.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace morvane::testing {

// Plain sockets: the tests need a server that lies, stalls and hangs up, which no server library does
// willingly.
struct LoopbackSite::State {
    int listener = -1;
    int stop = -1;
    int port = 0;
    std::thread acceptor;
    std::mutex mutex;
    std::vector<std::thread> connections;
    std::map<std::string, std::deque<SiteAnswer>> answers;
    std::vector<std::string> requests;
    std::vector<std::size_t> sentSizes;

    /// False when the server stops before the socket is ready.
    bool waitReadable(int socket) const {
        pollfd both[2] = {{socket, POLLIN, 0}, {stop, POLLIN, 0}};
        while (poll(both, 2, -1) < 0) {
        }
        return both[1].revents == 0;
    }

    static void sendAll(int socket, std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0) return;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
    }

    std::optional<std::string> readRequest(int socket) const {
        std::string request;
        std::size_t wanted = std::string::npos;
        while (request.size() < wanted) {
            if (!waitReadable(socket)) return std::nullopt;
            char buffer[16384];
            const ssize_t got = recv(socket, buffer, sizeof buffer, 0);
            if (got <= 0) return std::nullopt;
            request.append(buffer, static_cast<std::size_t>(got));
            const auto headEnd = request.find("\r\n\r\n");
            if (headEnd == std::string::npos || wanted != std::string::npos) continue;
            std::string head = request.substr(0, headEnd);
            std::transform(head.begin(), head.end(), head.begin(),
                           [](unsigned char c) { return std::tolower(c); });
            const auto length = head.find("\r\ncontent-length:");
            wanted = headEnd + 4 + (length == std::string::npos ? 0 : std::stoul(head.substr(length + 17)));
        }
        return request;
    }

    /// The value of a header of the request; empty when it has none.
    static std::string headerOf(const std::string& request, const std::string& name) {
        const auto start = request.find("\r\n" + name + ": ");
        if (start == std::string::npos) return "";
        const auto value = start + name.size() + 4;
        return request.substr(value, request.find("\r\n", value) - value);
    }

    /// Leaves of the answer what the request wants of the marked file; further lines of the head.
    static std::string narrow(SiteAnswer& answer, const std::string& request) {
        if (answer.entityTag.empty() || answer.status != 200) return "";
        std::string lines = "ETag: " + answer.entityTag + "\r\n";
        if (headerOf(request, "If-None-Match") == answer.entityTag) {
            answer.status = 304;
            answer.body.clear();
        }
        const std::string range = headerOf(request, "Range");
        if (!range.empty() && headerOf(request, "If-Range") == answer.entityTag) {
            const std::string whole = std::to_string(answer.body.size());
            const std::size_t first = std::stoul(range.substr(6));
            answer.status = 206;
            lines += "Content-Range: bytes " + std::to_string(first) + "-" +
                     std::to_string(answer.body.size() - 1) + "/" + whole + "\r\n";
            answer.body.erase(0, first);
        }
        return lines;
    }

    SiteAnswer answerFor(const std::string& method, const std::string& target, const std::string& body) {
        std::lock_guard lock(mutex);
        requests.push_back(method + " " + target + (method == "POST" ? "\n" + body : ""));
        const auto found = answers.find(target.substr(0, target.find('?')));
        if (found == answers.end())
            return {.status = 404, .body = "<html>not here</html>", .contentType = "text/html"};
        SiteAnswer answer = found->second.front();
        if (found->second.size() > 1) found->second.pop_front();
        return answer;
    }

    void serve(int socket) {
        if (const auto request = readRequest(socket)) {
            const std::string method = request->substr(0, request->find(' '));
            const auto targetStart = method.size() + 1;
            const std::string target =
                request->substr(targetStart, request->find(' ', targetStart) - targetStart);
            SiteAnswer answer = answerFor(method, target, request->substr(request->find("\r\n\r\n") + 4));
            if (!answer.drop) {
                const std::string marks = narrow(answer, *request);
                std::string head =
                    "HTTP/1.1 " + std::to_string(answer.status) + " Status\r\nConnection: close\r\n";
                head += "Content-Type: " + answer.contentType + "\r\n";
                if (!answer.withoutLength) {
                    const auto length = answer.announcedLength >= 0 ? std::to_string(answer.announcedLength)
                                                                    : std::to_string(answer.body.size());
                    head += "Content-Length: " + length + "\r\n";
                }
                if (answer.cutAfter >= 0) answer.body.resize(static_cast<std::size_t>(answer.cutAfter));
                {
                    std::lock_guard lock(mutex);
                    sentSizes.push_back(answer.body.size());
                }
                sendAll(socket, head + marks + "\r\n" + answer.body);
                if (answer.stall) {
                    // Until the server stops or the client hangs up.
                    (void)waitReadable(socket);
                }
            }
        }
        close(socket);
    }

    void accept() {
        while (waitReadable(listener)) {
            const int socket = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (socket < 0) continue;
            std::lock_guard lock(mutex);
            connections.emplace_back([this, socket] { serve(socket); });
        }
    }
};

LoopbackSite::LoopbackSite() : state_(std::make_shared<State>()) {
    state_->listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    state_->stop = eventfd(0, EFD_CLOEXEC);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* general = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (bind(state_->listener, general, size) != 0 || listen(state_->listener, 64) != 0 ||
        getsockname(state_->listener, general, &size) != 0) {
        throw std::runtime_error("no loopback port");
    }
    state_->port = ntohs(address.sin_port);
    state_->acceptor = std::thread([state = state_.get()] { state->accept(); });
}

LoopbackSite::~LoopbackSite() {
    const std::uint64_t one = 1;
    (void)!write(state_->stop, &one, sizeof one);
    state_->acceptor.join();
    for (std::thread& connection : state_->connections) connection.join();
    close(state_->listener);
    close(state_->stop);
}

std::string LoopbackSite::baseAddress() const {
    return "http://127.0.0.1:" + std::to_string(state_->port) + "/";
}

void LoopbackSite::answer(const std::string& path, SiteAnswer answer) {
    answerInTurn(path, {std::move(answer)});
}

void LoopbackSite::answerInTurn(const std::string& path, std::vector<SiteAnswer> answers) {
    std::lock_guard lock(state_->mutex);
    state_->answers[path] = {answers.begin(), answers.end()};
}

std::vector<std::string> LoopbackSite::requests() const {
    std::lock_guard lock(state_->mutex);
    return state_->requests;
}

std::vector<std::size_t> LoopbackSite::sentSizes() const {
    std::lock_guard lock(state_->mutex);
    return state_->sentSizes;
}

}  // namespace morvane::testing
