// What anybody may send to the server: heads, ranges and forms.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>

#include "fuzz/fuzzing.h"
#include "platform/descriptor.h"
#include "platform/digest.h"
#include "server/http_listener.h"

using namespace morvane;
using namespace morvane::fuzzing;

namespace {

HttpAnswer echo(const HttpQuery& query) {
    std::size_t read = query.form().size() + query.parameter("a").size() + query.header("range").size();
    return HttpAnswer::of(std::string(100, 'x') + std::to_string(read), "text/plain");
}

HttpListener& listener() {
    // Set up before the server: what its threads have of it is given back after they have ended.
    static const bool hasDigests = !digest::sha256("").empty();
    require(hasDigests);
    static HttpListener server({.threads = 1, .bodyLimit = 256}, echo);
    static const bool listens = server.listenOn("127.0.0.1", 0);
    require(listens);
    return server;
}

/// The answer's first bytes.
std::string answerTo(const std::string& request) {
    const Descriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(listener().port()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // Who has sent half of a request is waited for longer than we wait.
    const timeval limit{.tv_sec = 0, .tv_usec = 20000};
    // Ports are not kept waiting: thousands of requests come a second.
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ::setsockopt(client.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    require(::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
    static_cast<void>(::send(client.get(), request.data(), request.size(), MSG_NOSIGNAL));
    ::shutdown(client.get(), SHUT_WR);
    std::string answer(256, '\0');
    const ssize_t count = ::recv(client.get(), answer.data(), answer.size(), 0);
    answer.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return answer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(textOf(data, size));
    const bool isWhole = size > 0 && (data[0] & 1U) != 0;
    const std::string answer =
        answerTo(isWhole ? text : "POST /a HTTP/1.1\r\nHost: a\r\nConnection: close\r\n" + text + "\r\n\r\n");
    require(answer.empty() || answer.starts_with("HTTP/1."));
    return 0;
}
