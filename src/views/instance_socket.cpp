#include "views/instance_socket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <QLocalSocket>
#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>

#include "platform/files.h"

namespace morvane::views {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::string_view takenAnswer = "taken\n", refusedAnswer = "refused\n";
constexpr std::size_t mostConnections = 32;
constexpr std::chrono::seconds longestSending{5};

Descriptor openFolder(const std::string& folder) {
    return Descriptor(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

Descriptor makeSocket() {
    return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

/// Through the opened folder: an address holds 107 bytes, and folders of users have longer paths.
sockaddr_un addressIn(const Descriptor& folder, const std::string& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder.get()) + "/" + name;
    path.copy(&address.sun_path[0], sizeof address.sun_path - 1);
    return address;
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

bool isOfThisUser(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

bool waitFor(int socket, short events, Clock::time_point end) {
    pollfd wanted{.fd = socket, .events = events, .revents = 0};
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        const int ready = left > 0 ? ::poll(&wanted, 1, static_cast<int>(left)) : 0;
        if (ready >= 0 || errno != EINTR) return ready > 0;
    }
}

/// A queue of connections that is full is not waited for by the system.
Delivery connectTo(const Descriptor& socket, const sockaddr_un& address, Clock::time_point end) {
    constexpr std::chrono::milliseconds pause{20};
    while (::connect(socket.get(), generic(address), sizeof address) != 0) {
        if (errno != EAGAIN && errno != EINTR) return Delivery::nobody;
        if (Clock::now() > end) return Delivery::silent;
        std::this_thread::sleep_for(pause);
    }
    return isOfThisUser(socket.get()) ? Delivery::taken : Delivery::nobody;
}

Delivery converse(int socket, std::string_view message, Clock::time_point end) {
    while (!message.empty()) {
        if (!waitFor(socket, POLLOUT, end)) return Delivery::silent;
        const auto sent = ::send(socket, message.data(), message.size(), MSG_NOSIGNAL);
        if (sent > 0) message.remove_prefix(static_cast<std::size_t>(sent));
        if (sent < 0 && errno != EAGAIN && errno != EINTR) return Delivery::nobody;
    }
    std::string answer;
    while (!answer.ends_with('\n')) {
        if (!waitFor(socket, POLLIN, end)) return Delivery::silent;
        std::array<char, 16> bytes{};
        const auto got = ::recv(socket, bytes.data(), bytes.size(), 0);
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) return Delivery::nobody;
        if (got > 0) answer.append(bytes.data(), static_cast<std::size_t>(got));
        if (answer.size() > refusedAnswer.size()) break;
    }
    return answer == takenAnswer ? Delivery::taken : Delivery::refused;
}

}  // namespace

Delivery InstanceSocket::sendTo(const std::string& folder, const std::string& name,
                                const std::string& message, std::chrono::milliseconds limit) {
    const Descriptor place = openFolder(folder), socket = makeSocket();
    if (!place.valid() || !socket.valid()) return Delivery::nobody;
    const auto end = Clock::now() + limit;
    const Delivery connected = connectTo(socket, addressIn(place, name), end);
    return connected == Delivery::taken ? converse(socket.get(), message, end) : connected;
}

Result<std::unique_ptr<InstanceSocket>> InstanceSocket::listen(const std::string& folder,
                                                               const std::string& name, Received received) {
    const auto failed = [&] {
        return Failure{files::join(folder, name), std::generic_category().message(errno)};
    };
    Descriptor place = openFolder(folder), socket = makeSocket();
    if (!place.valid() || !socket.valid()) return failed();
    const sockaddr_un address = addressIn(place, name);
    constexpr mode_t onlyUser = 0600;
    if (::unlinkat(place.get(), name.c_str(), 0) != 0 && errno != ENOENT) return failed();
    if (::fchmod(socket.get(), onlyUser) != 0 ||
        ::bind(socket.get(), generic(address), sizeof address) != 0 ||
        ::listen(socket.get(), mostConnections) != 0)
        return failed();
    std::unique_ptr<InstanceSocket> result(new InstanceSocket(std::move(place), name, std::move(received)));
    if (!result->server_.listen(static_cast<qintptr>(socket.release()))) {
        return Failure{files::join(folder, name), result->server_.errorString().toStdString()};
    }
    return result;
}

InstanceSocket::InstanceSocket(Descriptor folder, std::string name, Received received)
    : folder_(std::move(folder)), name_(std::move(name)), received_(std::move(received)) {
    QObject::connect(&server_, &QLocalServer::newConnection, &server_, [this] {
        while (QLocalSocket* socket = server_.nextPendingConnection()) take(socket);
    });
}

InstanceSocket::~InstanceSocket() {
    ::unlinkat(folder_.get(), name_.c_str(), 0);
    server_.close();
}

void InstanceSocket::take(QLocalSocket* socket) {
    QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    const auto connections = server_.findChildren<QLocalSocket*>(Qt::FindDirectChildrenOnly).size();
    if (!isOfThisUser(static_cast<int>(socket->socketDescriptor())) ||
        connections > static_cast<qsizetype>(mostConnections))
        return socket->abort();
    socket->setReadBufferSize(static_cast<qint64>(longestMessage) + 1);
    QObject::connect(socket, &QLocalSocket::readyRead, &server_, [this, socket] { read(socket); });
    QTimer::singleShot(longestSending, socket, [socket] { socket->abort(); });
    read(socket);
}

void InstanceSocket::read(QLocalSocket* socket) {
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() > static_cast<qint64>(longestMessage)) socket->abort();
        return;
    }
    QObject::disconnect(socket, &QLocalSocket::readyRead, &server_, nullptr);
    const QByteArray line = socket->readLine();
    const auto request =
        requestOfMessage(std::string_view(line.constData(), static_cast<std::size_t>(line.size() - 1)));
    const std::string_view answer = request ? takenAnswer : refusedAnswer;
    socket->write(answer.data(), static_cast<qint64>(answer.size()));
    socket->disconnectFromServer();
    if (request) received_(*request);
}

}  // namespace morvane::views
