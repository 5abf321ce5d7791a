// tests/server/raw_client.h: HTTP byte by byte, also as no client would speak it.
#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <string>
#include <utility>

#include "platform/descriptor.h"

namespace morvane::testing {

/// The port in "http://127.0.0.1:<port>/".
inline int portOf(const std::string& base) {
    return std::stoi(base.substr(base.rfind(':') + 1));
}

/// One connection to this machine.
class RawClient {
  public:
    explicit RawClient(int port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        ::inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
        if (::connect(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            socket_.reset();
    }
    [[nodiscard]] bool connected() const { return socket_.valid(); }
    /// False when the other end has closed.
    bool send(std::string_view bytes) const {
        return ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }
    /// What comes until the other end closes, or nothing has come for so many milliseconds.
    std::string receive(int patience = 5000) const {
        std::string bytes;
        std::array<char, 65536> block{};
        for (;;) {
            pollfd waiting{socket_.get(), POLLIN, 0};
            if (::poll(&waiting, 1, patience) <= 0) return bytes;
            const ssize_t count = ::recv(socket_.get(), block.data(), block.size(), 0);
            if (count <= 0) return bytes;
            bytes.append(block.data(), static_cast<std::size_t>(count));
        }
    }

  private:
    Descriptor socket_;
};

struct RawAnswer {
    int status = 0;  ///< 0 without an answer
    std::string head, body;

    explicit RawAnswer(const std::string& bytes) {
        const std::size_t end = bytes.find("\r\n\r\n");
        if (!bytes.starts_with("HTTP/1.") || end == std::string::npos) return;
        status = std::stoi(bytes.substr(9, 3));
        head = bytes.substr(0, end + 2);
        body = bytes.substr(end + 4);
    }
    /// Empty when it is not there.
    [[nodiscard]] std::string header(const std::string& name) const {
        const std::string mark = "\r\n" + name + ": ";
        const std::size_t begin = head.find(mark);
        if (begin == std::string::npos) return "";
        return head.substr(begin + mark.size(), head.find("\r\n", begin + 2) - begin - mark.size());
    }
};

/// One request on a connection of its own, which is closed behind it.
inline RawAnswer request(int port, const std::string& method, const std::string& address,
                         const std::string& headers = "", const std::string& body = "") {
    const RawClient client(port);
    const std::string length = body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n";
    client.send(method + " " + address + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" + headers +
                length + "\r\n" + body);
    return RawAnswer(client.receive());
}

}  // namespace morvane::testing
