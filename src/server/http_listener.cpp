#include "server/http_listener.h"

#include <fcntl.h>
#include <linux/tcp.h>
#include <microhttpd.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <deque>
#include <exception>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/text.h"
#include "platform/annotations.h"
#include "platform/descriptor.h"
#include "platform/percent_coding.h"

namespace morvane {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

constexpr seconds toSendAHead{15}, toBegin{10}, betweenLooks{1};
constexpr std::uint64_t slowestBytesPerSecond = 4096;
constexpr unsigned mostConnections = 4096;
constexpr std::size_t memoryOfConnection = 32768;
constexpr int backlog = 1024;

enum Status {
    ok = 200,
    partialContent = 206,
    badRequest = 400,
    notFound = 404,
    notAllowed = 405,
    lengthRequired = 411,
    tooLarge = 413,
    badRange = 416,
    serverError = 500,
    unavailable = 503
};

/// In parameters "+" is a blank.
std::string ofForm(std::string_view text) {
    std::string blanks(text);
    std::ranges::replace(blanks, '+', ' ');
    return percent::decoded(blanks);
}

std::map<std::string, std::string> parametersIn(std::string_view text) {
    std::map<std::string, std::string> parameters;
    while (!text.empty()) {
        const std::string_view pair = text.substr(0, text.find('&'));
        text.remove_prefix(std::min(pair.size() + 1, text.size()));
        const std::size_t equals = std::min(pair.find('='), pair.size());
        if (pair.empty()) continue;
        parameters.emplace(ofForm(pair.substr(0, equals)),
                           ofForm(pair.substr(std::min(equals + 1, pair.size()))));
    }
    return parameters;
}

std::string numericAddress(const sockaddr* address) {
    if (address == nullptr) return "";
    std::array<char, NI_MAXHOST> host{};
    const socklen_t length = address->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    const int failed = ::getnameinfo(address, length, host.data(), host.size(), nullptr, 0, NI_NUMERICHOST);
    return failed == 0 ? host.data() : "";
}

struct ByteRange {
    std::uint64_t first = 0, size = 0;
};
enum class Wanted { whole, part, nothing };

/// One range of bytes, as RFC 9110 has it; several, and whatever is none, ask for the whole.
Wanted rangeOf(std::string_view header, std::uint64_t size, ByteRange& range) {
    constexpr std::string_view unit = "bytes=";
    if (!header.starts_with(unit)) return Wanted::whole;
    header.remove_prefix(unit.size());
    const std::size_t dash = header.find('-');
    if (dash == std::string_view::npos) return Wanted::whole;
    const auto number = [](std::string_view text) -> std::optional<std::uint64_t> {
        std::uint64_t value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
    };
    const std::string_view from = header.substr(0, dash), to = header.substr(dash + 1);
    const auto first = number(from), last = number(to);
    if ((!from.empty() && !first) || (!to.empty() && !last) || (!first && !last)) return Wanted::whole;
    if (first && last && *last < *first) return Wanted::whole;
    if (!first) {  // the last so many
        if (*last == 0 || size == 0) return Wanted::nothing;
        range = {size - std::min(*last, size), std::min(*last, size)};
        return Wanted::part;
    }
    if (*first >= size) return Wanted::nothing;
    range = {*first, std::min(last.value_or(size - 1), size - 1) - *first + 1};
    return Wanted::part;
}

bool isControl(char character) {
    return static_cast<unsigned char>(character) < ' ' || character == '\x7f';
}

/// As RFC 9110 has the name of a header. Any other ("Content-Length " with the blank) is one name to us and
/// may be another to whoever stands in front.
bool isToken(std::string_view name) {
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    return !name.empty() && std::all_of(name.begin(), name.end(), [&](char character) {
        const char letter = static_cast<char>(character | 0x20);
        return (letter >= 'a' && letter <= 'z') || (character >= '0' && character <= '9') ||
               marks.find(character) != std::string_view::npos;
    });
}

/// The library puts a folded line behind the name when there is no value before it: a length would hide there.
bool hidesLength(std::string_view lowerCaseName) {
    constexpr std::array<std::string_view, 2> lengths = {"content-length", "transfer-encoding"};
    return std::any_of(lengths.begin(), lengths.end(), [&](std::string_view length) {
        return lowerCaseName.starts_with(length) && lowerCaseName != length;
    });
}

/// What the other end has taken of all that was sent on the connection.
std::uint64_t bytesTaken(int socket) {
    tcp_info state{};
    socklen_t length = sizeof state;
    return ::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &state, &length) == 0 ? state.tcpi_bytes_acked : 0;
}

/// As many open files as the system allows: each client is one.
void allowManyFiles() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    const rlim_t wanted = std::min<rlim_t>(limit.rlim_max, rlim_t{2} * mostConnections);
    if (limit.rlim_cur >= wanted) return;
    limit.rlim_cur = wanted;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

struct Listening {
    Descriptor socket;
    int port = -1;
};

std::optional<Listening> listenAt(const std::string& host, int port) {
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found) != 0) return std::nullopt;
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, ::freeaddrinfo);
    for (const addrinfo* address = found; address != nullptr; address = address->ai_next) {
        Descriptor socket(::socket(address->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        const int yes = 1;
        // Not "reuse port": a second server would take half of the requests.
        ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        sockaddr_storage bound{};
        socklen_t length = sizeof bound;
        auto* generic = reinterpret_cast<sockaddr*>(&bound);
        if (!socket.valid() || ::bind(socket.get(), address->ai_addr, address->ai_addrlen) != 0 ||
            ::listen(socket.get(), backlog) != 0 || ::getsockname(socket.get(), generic, &length) != 0)
            continue;
        const in_port_t number = generic->sa_family == AF_INET6
                                     ? reinterpret_cast<sockaddr_in6*>(generic)->sin6_port
                                     : reinterpret_cast<sockaddr_in*>(generic)->sin_port;
        return Listening{std::move(socket), ntohs(number)};
    }
    return std::nullopt;
}

}  // namespace

std::string HttpQuery::parameter(const std::string& name) const {
    const auto found = parameters.find(name);
    return found == parameters.end() ? std::string() : found->second;
}

std::string HttpQuery::header(const std::string& lowerCaseName) const {
    const auto found = headers.find(lowerCaseName);
    return found == headers.end() ? std::string() : found->second;
}

std::map<std::string, std::string> HttpQuery::form() const {
    return parametersIn(body);
}

HttpAnswer HttpAnswer::of(std::string text, std::string contentType, int status) {
    return {.status = status,
            .contentType = std::move(contentType),
            .text = std::make_shared<const std::string>(std::move(text))};
}

HttpAnswer HttpAnswer::ofFile(std::string path, std::string contentType) {
    return {.contentType = std::move(contentType), .file = std::move(path)};
}

/// The event loop of the library with its callbacks, the handlers' threads, and a thread that drops clients
/// that dawdle. The library's own limit of idleness is not used: it takes a client for idle that is still
/// fetching what lies in the system's buffer.
class HttpListener::Server {
  public:
    Server(Options options, Handler handler) : options_(std::move(options)), handler_(std::move(handler)) {}

    ~Server() {
        if (daemon_ == nullptr) return;
        {
            const MutexLock lock(mutex_);
            ending_ = true;
        }
        work_.notify_all();
        end_.notify_all();
        // The library bears no request that nobody will go on with.
        for (std::thread& thread : threads_) thread.join();
        MHD_stop_daemon(daemon_);
    }

    bool serve(Descriptor socket) {
        allowManyFiles();
        const std::array<MHD_OptionItem, 10> settings{{
            {MHD_OPTION_LISTEN_SOCKET, socket.get(), nullptr},
            {MHD_OPTION_CONNECTION_LIMIT, mostConnections, nullptr},
            {MHD_OPTION_PER_IP_CONNECTION_LIMIT, options_.perAddress, nullptr},
            {MHD_OPTION_CONNECTION_MEMORY_LIMIT, memoryOfConnection, nullptr},
            {MHD_OPTION_STRICT_FOR_CLIENT, 1, nullptr},
            {MHD_OPTION_URI_LOG_CALLBACK, reinterpret_cast<std::intptr_t>(&began), this},
            {MHD_OPTION_NOTIFY_COMPLETED, reinterpret_cast<std::intptr_t>(&completed), this},
            {MHD_OPTION_NOTIFY_CONNECTION, reinterpret_cast<std::intptr_t>(&connected), this},
            {MHD_OPTION_EXTERNAL_LOGGER, reinterpret_cast<std::intptr_t>(&ignoreMessage), nullptr},
            {MHD_OPTION_END, 0, nullptr},
        }};
        daemon_ = MHD_start_daemon(
            MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG, 0, nullptr, nullptr,
            &answer, this, MHD_OPTION_ARRAY, settings.data(), MHD_OPTION_END);
        if (daemon_ == nullptr) return false;
        static_cast<void>(socket.release());  // the library's from now on
        for (std::size_t thread = 0; thread < options_.threads; ++thread)
            threads_.emplace_back([this] { work(); });
        threads_.emplace_back([this] { dropDawdlers(); });
        return true;
    }

  private:
    /// One request. The event loop and a handler's thread have it in turn.
    struct Exchange {
        enum class Stage { head, body, handled } stage = Stage::head;
        std::string address;  ///< as it was sent
        HttpQuery query;
        bool isClear = true;  ///< the head could be read in one way only
        Clock::time_point begun;
        HttpAnswer answer;
        MHD_Connection* connection = nullptr;
    };
    /// When a connection is dropped.
    struct Deadline {
        std::optional<Clock::time_point> at;  ///< none while a handler works
        /// Of a long answer, which has more time for what the client has taken: how much it had before.
        std::optional<std::uint64_t> takenBefore = {};
        Clock::time_point begun = {};
    };

    // --- Callbacks of the library, on its thread. Nothing may be thrown through it.

    static void* began(void* server, const char* address, MHD_Connection*) noexcept {
        static_cast<void>(server);
        try {
            auto exchange = std::make_unique<Exchange>();
            exchange->address = address;
            return exchange.release();
        } catch (const std::exception&) {
            return nullptr;  // out of memory: the connection is closed
        }
    }

    static MHD_Result answer(void* server, MHD_Connection* connection, const char*, const char* method,
                             const char*, const char* data, size_t* size, void** context) noexcept {
        auto* const exchange = static_cast<Exchange*>(*context);
        if (exchange == nullptr) return MHD_NO;
        try {
            return static_cast<Server*>(server)->goOn(*exchange, connection, method, data, *size);
        } catch (const std::exception&) {
            return MHD_NO;
        }
    }

    static void completed(void* server, MHD_Connection* connection, void** context,
                          MHD_RequestTerminationCode) noexcept {
        delete static_cast<Exchange*>(*context);
        *context = nullptr;
        static_cast<Server*>(server)->setDeadline(connection, {Clock::now() + toSendAHead});
    }

    static void connected(void* server, MHD_Connection* connection, void**,
                          MHD_ConnectionNotificationCode code) noexcept {
        auto* const self = static_cast<Server*>(server);
        const MutexLock lock(self->mutex_);
        // Before the library closes the socket: a number that is somebody else's by then is never shut.
        if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
            self->deadlines_.erase(connection);
            return;
        }
        try {
            self->deadlines_[connection] = {Clock::now() + toSendAHead};
        } catch (const std::exception&) {
            ::shutdown(socketOf(connection), SHUT_RDWR);  // nobody would watch it
        }
    }

    static void ignoreMessage(void*, const char*, va_list) noexcept {}

    static MHD_Result addHeader(void* given, MHD_ValueKind, const char* name, size_t nameSize,
                                const char* value, size_t valueSize) noexcept {
        auto& exchange = *static_cast<Exchange*>(given);
        const std::string_view key(name, nameSize), text(value != nullptr ? value : "", valueSize);
        const bool isPlain =
            std::none_of(text.begin(), text.end(), [](char c) { return isControl(c) && c != '\t'; });
        try {
            const std::string lowerCaseName = MVString::lowercased(std::string(key));
            if (!isToken(key) || !isPlain || hidesLength(lowerCaseName)) exchange.isClear = false;
            const auto [place, isNew] = exchange.query.headers.try_emplace(lowerCaseName, text);
            if (!isNew) place->second.append(", ").append(text);
            return MHD_YES;
        } catch (const std::exception&) {
            exchange.isClear = false;  // a length may be missing
            return MHD_NO;
        }
    }

    // --- A request on its way

    MHD_Result goOn(Exchange& exchange, MHD_Connection* connection, const char* method, const char* data,
                    size_t& size) {
        HttpQuery& query = exchange.query;
        switch (exchange.stage) {
            case Exchange::Stage::head: {
                exchange.stage = Exchange::Stage::body;
                query.method = method;
                readHead(exchange, connection);
                const auto flaw = exchange.isClear ? flawOf(query) : badRequest;
                if (!flaw) {
                    exchange.begun = Clock::now();
                    setDeadline(connection, {exchange.begun + toBegin});
                    return MHD_YES;
                }
                HttpAnswer refusal{.status = *flaw};
                // What follows may be the body that was not understood: it is never read as a request.
                refusal.headers["Connection"] = "close";
                return send(exchange, refusal, connection);
            }
            case Exchange::Stage::body:
                if (size > 0) {
                    query.body.append(data, size);
                    size = 0;
                    setDeadline(connection, {exchange.begun + timeFor(query.body.size())});
                    return query.body.size() <= options_.bodyLimit ? MHD_YES : MHD_NO;
                }
                exchange.stage = Exchange::Stage::handled;
                exchange.connection = connection;
                return enqueue(exchange) ? MHD_YES : MHD_NO;
            case Exchange::Stage::handled:
                // Whatever length the library has read, nothing behind it is a request.
                if (query.headers.contains("content-length")) exchange.answer.headers["Connection"] = "close";
                return send(exchange, exchange.answer, connection);
        }
        return MHD_NO;
    }

    static void readHead(Exchange& exchange, MHD_Connection* connection) {
        HttpQuery& query = exchange.query;
        const std::string_view address = exchange.address;
        const std::size_t mark = std::min(address.find('?'), address.size());
        query.path = percent::decoded(address.substr(0, mark));
        query.parameters = parametersIn(address.substr(std::min(mark + 1, address.size())));
        if (std::any_of(address.begin(), address.end(), isControl)) exchange.isClear = false;
        MHD_get_connection_values_n(connection, MHD_HEADER_KIND, &addHeader, &exchange);
        const auto* client = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
        if (client != nullptr) query.sender = numericAddress(client->client_addr);
    }

    /// The status of a request that is refused: whoever stands in front of this server must not be able to
    /// read another end of it than we do.
    [[nodiscard]] std::optional<int> flawOf(const HttpQuery& query) const {
        const auto length = query.headers.find("content-length");
        const bool hasLength = length != query.headers.end();
        if (query.headers.contains("transfer-encoding")) return hasLength ? badRequest : lengthRequired;
        std::uint64_t bytes = 0;
        if (hasLength) {
            const std::string& text = length->second;
            const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), bytes);
            // Two lengths have been joined by a comma.
            if (text.empty() || end != text.data() + text.size()) return badRequest;
            if (error != std::errc()) return tooLarge;
        }
        const bool takesBody = query.method == "POST" && options_.bodyLimit > 0;
        if (bytes > 0 && !takesBody) return query.method == "POST" ? tooLarge : badRequest;
        if (bytes > options_.bodyLimit) return tooLarge;
        const bool isKnown = query.method == "GET" || query.method == "HEAD" || query.method == "POST";
        if (!isKnown) return notAllowed;
        return std::nullopt;
    }

    MHD_Result send(const Exchange& exchange, const HttpAnswer& answer, MHD_Connection* connection) {
        int status = answer.status;
        std::map<std::string, std::string> headers = options_.headers;
        for (const auto& [name, value] : answer.headers) headers[name] = value;
        std::uint64_t size = 0;
        MHD_Response* response = nullptr;
        if (!answer.file.empty()) {
            response = fileResponse(exchange.query, answer, status, headers, size);
        } else if (answer.text) {
            size = answer.text->size();
            response = MHD_create_response_from_buffer_with_free_callback_cls(
                answer.text->size(), const_cast<char*>(answer.text->data()), &releaseText,
                new std::shared_ptr<const std::string>(answer.text));
        }
        if (response == nullptr)
            response = MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT);
        if (response == nullptr) return MHD_NO;
        headers["Content-Type"] = answer.contentType;
        for (const auto& [name, value] : headers)
            MHD_add_response_header(response, name.c_str(), value.c_str());
        setDeadline(connection, deadlineOfAnswer(connection, size));
        const MHD_Result queued = MHD_queue_response(connection, static_cast<unsigned>(status), response);
        MHD_destroy_response(response);
        return queued;
    }

    static void releaseText(void* text) noexcept {
        delete static_cast<std::shared_ptr<const std::string>*>(text);
    }

    /// By which a client knows that its part is of the same file: another one in its place, or a change of it,
    /// has another.
    static std::string markOf(const struct stat& state) {
        const auto number = [](auto value) { return std::to_string(value) + "-"; };
        return "\"" + number(state.st_ino) + number(state.st_size) + number(state.st_mtim.tv_sec) +
               std::to_string(state.st_mtim.tv_nsec) + "\"";
    }

    /// Null when it can't be read, with that status.
    static MHD_Response* fileResponse(const HttpQuery& query, const HttpAnswer& answer, int& status,
                                      std::map<std::string, std::string>& headers, std::uint64_t& size) {
        Descriptor file(::open(answer.file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        struct stat state {};
        if (!file.valid() || ::fstat(file.get(), &state) != 0 || !S_ISREG(state.st_mode)) {
            status = notFound;
            return nullptr;
        }
        const auto whole = static_cast<std::uint64_t>(state.st_size);
        ByteRange range{0, whole};
        headers["Accept-Ranges"] = "bytes";
        const std::string mark = markOf(state);
        if (status == ok) headers["ETag"] = mark;
        const bool isSame = !query.headers.contains("if-range") || query.header("if-range") == mark;
        const bool mayBePart = status == ok && query.method == "GET" && isSame;
        const Wanted wanted = mayBePart ? rangeOf(query.header("range"), whole, range) : Wanted::whole;
        if (wanted == Wanted::nothing) {
            status = badRange;
            headers["Content-Range"] = "bytes */" + std::to_string(whole);
            return nullptr;
        }
        if (wanted == Wanted::part) {
            status = partialContent;
            headers["Content-Range"] = "bytes " + std::to_string(range.first) + "-" +
                                       std::to_string(range.first + range.size - 1) + "/" +
                                       std::to_string(whole);
        }
        size = range.size;
        MHD_Response* const response =
            MHD_create_response_from_fd_at_offset64(range.size, file.get(), range.first);
        if (response != nullptr) static_cast<void>(file.release());  // the response's
        return response;
    }

    // --- Handlers

    /// False at the end of the server. The library ends the process at its end when a request is suspended
    /// that nobody will go on with: so none is, once the handlers' threads may be gone.
    bool enqueue(Exchange& exchange) {
        const bool isSlow = options_.isSlow && options_.isSlow(exchange.query);
        {
            const MutexLock lock(mutex_);
            if (ending_) return false;
            const auto known = deadlines_.find(exchange.connection);
            if (known != deadlines_.end()) known->second = {};
            (isSlow ? waitingSlow_ : waiting_).push_back(&exchange);
            MHD_suspend_connection(exchange.connection);
        }
        work_.notify_one();
        return true;
    }

    /// The next one, or null; slow ones have half of the threads at most, so that the others go on.
    Exchange* next(bool& isSlow) MV_REQUIRES(mutex_) {
        const std::size_t mostSlow = std::max<std::size_t>(1, options_.threads / 2);
        isSlow = !waitingSlow_.empty() && (slowAtWork_ < mostSlow || ending_);
        std::deque<Exchange*>& queue = isSlow ? waitingSlow_ : waiting_;
        if (queue.empty()) return nullptr;
        Exchange* const exchange = queue.front();
        queue.pop_front();
        if (isSlow) ++slowAtWork_;
        return exchange;
    }

    void work() {
        for (;;) {
            Exchange* exchange = nullptr;
            bool isEnding = false, isSlow = false;
            {
                const MutexLock lock(mutex_);
                while ((exchange = next(isSlow)) == nullptr && !ending_) work_.wait(mutex_);
                if (exchange == nullptr) return;
                isEnding = ending_;
            }
            try {
                exchange->answer = isEnding ? HttpAnswer{.status = unavailable} : answerTo(exchange->query);
            } catch (...) {
                exchange->answer.status = serverError;  // not even memory to say why
            }
            MHD_resume_connection(exchange->connection);
            if (!isSlow) continue;
            {
                const MutexLock lock(mutex_);
                --slowAtWork_;
            }
            work_.notify_one();
        }
    }

    HttpAnswer answerTo(const HttpQuery& query) const {
        std::string reason = "an unknown failure";
        try {
            return handler_(query);
        } catch (const std::exception& error) {
            reason = error.what();
        } catch (...) {
        }
        if (options_.complain) options_.complain(reason);
        return {.status = serverError};
    }

    // --- Clients that dawdle

    static Clock::duration timeFor(std::uint64_t bytes) {
        return toBegin + seconds(bytes / slowestBytesPerSecond);
    }

    static Deadline deadlineOfAnswer(MHD_Connection* connection, std::uint64_t size) {
        const auto now = Clock::now();
        if (timeFor(size) <= 2 * toBegin) return {now + timeFor(size)};
        return {now + toBegin, bytesTaken(socketOf(connection)), now};
    }

    static int socketOf(MHD_Connection* connection) {
        const auto* socket = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        return socket != nullptr ? socket->connect_fd : -1;
    }

    void setDeadline(MHD_Connection* connection, const Deadline& deadline) {
        const MutexLock lock(mutex_);
        const auto known = deadlines_.find(connection);
        if (known != deadlines_.end()) known->second = deadline;
    }

    void dropDawdlers() {
        const MutexLock lock(mutex_);
        while (!ending_) {
            end_.wait_until(mutex_, Clock::now() + betweenLooks);
            const auto now = Clock::now();
            for (auto& [connection, deadline] : deadlines_) {
                if (!deadline.at || *deadline.at > now) continue;
                const int socket = socketOf(connection);
                if (deadline.takenBefore)
                    deadline.at = deadline.begun + timeFor(bytesTaken(socket) - *deadline.takenBefore);
                if (*deadline.at > now) continue;
                deadline.at.reset();
                // The event loop sees the end and clears up.
                ::shutdown(socket, SHUT_RDWR);
            }
        }
    }

    const Options options_;
    const Handler handler_;
    MHD_Daemon* daemon_ = nullptr;
    std::vector<std::thread> threads_;
    Mutex mutex_;
    Condition work_, end_;
    std::deque<Exchange*> waiting_ MV_GUARDED_BY(mutex_), waitingSlow_ MV_GUARDED_BY(mutex_);
    std::size_t slowAtWork_ MV_GUARDED_BY(mutex_) = 0;
    std::map<MHD_Connection*, Deadline> deadlines_ MV_GUARDED_BY(mutex_);
    bool ending_ MV_GUARDED_BY(mutex_) = false;
};

HttpListener::HttpListener(Options options, Handler handler)
    : server_(std::make_unique<Server>(std::move(options), std::move(handler))) {}

HttpListener::~HttpListener() = default;

bool HttpListener::listenOn(const std::string& address, int port) {
    auto listening = listenAt(address, port);
    if (!listening || !server_->serve(std::move(listening->socket))) return false;
    port_ = listening->port;
    return true;
}

}  // namespace morvane
