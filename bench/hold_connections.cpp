// hold_connections HOST PORT COUNT [half]: opens so many connections and holds them, each opened anew when the
// other end closes it, until standard input ends. With "half", each sends the half of a request first. Says how many
// are open once they are, and at the end how many were and how often one was opened.
#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

struct Holder {
    sockaddr_in address{};
    bool sendsHalf = false;
    int events = ::epoll_create1(EPOLL_CLOEXEC);
    int open = 0, opened = 0;

    bool hold() {
        const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (socket < 0 || ::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            if (socket >= 0) ::close(socket);
            return false;
        }
        constexpr std::string_view half = "GET /ckis/listPorts.php HTTP/1.1\r\nHost: a\r\nX-Wait: ";
        if (sendsHalf) static_cast<void>(::send(socket, half.data(), half.size(), MSG_NOSIGNAL));
        epoll_event event{};
        event.events = EPOLLIN | EPOLLRDHUP;
        event.data.fd = socket;
        ::epoll_ctl(events, EPOLL_CTL_ADD, socket, &event);
        ++open;
        ++opened;
        return true;
    }

    /// Closes what the other end has closed; an answer to half a request is its end as well.
    void look(int milliseconds) {
        std::array<epoll_event, 256> ready{};
        const int count = ::epoll_wait(events, ready.data(), static_cast<int>(ready.size()), milliseconds);
        for (int i = 0; i < count; ++i) {
            ::close(ready.at(static_cast<std::size_t>(i)).data.fd);
            --open;
        }
    }
};

bool inputEnded() {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    char byte = 0;
    return ::poll(&input, 1, 0) > 0 && ::read(STDIN_FILENO, &byte, 1) <= 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) return 2;
    Holder holder;
    holder.address.sin_family = AF_INET;
    holder.address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(argv[2])));
    if (::inet_pton(AF_INET, argv[1], &holder.address.sin_addr) != 1) return 2;
    holder.sendsHalf = argc > 4 && std::string_view(argv[4]) == "half";
    const int wanted = std::atoi(argv[3]);
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    bool told = false;
    constexpr int atOnce = 200;
    while (!inputEnded()) {
        for (int i = 0; i < atOnce && holder.open < wanted && holder.hold(); ++i) {
        }
        if (holder.open >= wanted && !told) {
            std::printf("holding %d\n", holder.open);
            std::fflush(stdout);
            told = true;
        }
        holder.look(holder.open < wanted ? 0 : 20);
    }
    std::printf("held %d, opened %d\n", holder.open, holder.opened);
    return told ? 0 : 1;
}
