#include "platform/http.h"

#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <thread>
#include <utility>

#include "platform/cancellation.h"
#include "platform/main_queue.h"

namespace morvane {
namespace {

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

using Clock = std::chrono::steady_clock;

constexpr const char* protocols = "http,https,ftp";
constexpr long mostRedirections = 10;

struct Wording {
    CURLcode code;
    const char* text;
};
/// They stand before a full stop of the caller's.
constexpr std::array wordings{
    Wording{CURLE_URL_MALFORMAT, "The address is not valid"},
    Wording{CURLE_UNSUPPORTED_PROTOCOL, "Addresses of this kind are not supported"},
    Wording{CURLE_COULDNT_RESOLVE_HOST, "The server's name could not be found"},
    Wording{CURLE_COULDNT_RESOLVE_PROXY, "The proxy's name could not be found"},
    Wording{CURLE_COULDNT_CONNECT, "The server could not be reached"},
    Wording{CURLE_OPERATION_TIMEDOUT, "The server did not answer in time"},
    Wording{CURLE_GOT_NOTHING, "The server closed the connection without an answer"},
    Wording{CURLE_PARTIAL_FILE, "The connection was lost"},
    Wording{CURLE_RECV_ERROR, "The connection was lost"},
    Wording{CURLE_SEND_ERROR, "The connection was lost"},
    Wording{CURLE_TOO_MANY_REDIRECTS, "The server redirects without end"},
    Wording{CURLE_HTTP_RETURNED_ERROR, "The server does not give the file"},
    Wording{CURLE_REMOTE_FILE_NOT_FOUND, "The file is not on the server"},
    Wording{CURLE_REMOTE_ACCESS_DENIED, "The server denies access to the file"},
    Wording{CURLE_ABORTED_BY_CALLBACK, "The server redirects into a network that is not its own"},
    Wording{CURLE_SSL_CONNECT_ERROR, "No secure connection to the server could be made"},
    Wording{CURLE_PEER_FAILED_VERIFICATION, "The server's identity could not be verified"},
};

std::string describe(CURLcode code) {
    const auto* found = std::find_if(wordings.begin(), wordings.end(),
                                     [&](const Wording& wording) { return wording.code == code; });
    return found != wordings.end() ? found->text : curl_easy_strerror(code);
}

/// What a connection hands on, on the thread that runs it.
struct Events {
    /// False ends the connection.
    std::function<bool(const HttpHead& head)> response;
    /// False ends the connection.
    std::function<bool(std::string_view bytes)> data;
};

/// What is wanted: the answer, whatever it is, whole; or a file. A receiver of a file is told its length and
/// judges by itself whether it is whole; an error page is none.
enum class Purpose { answer, file };

/// One request, run by `run` on one thread and stopped by `stop` from any.
class Connection {
  public:
    explicit Connection(HttpRequest request) : request_(std::move(request)) {}
    ~Connection() {
        curl_easy_cleanup(easy_);
        curl_multi_cleanup(multi_);
        curl_slist_free_all(headers_);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// The description of the error; empty after success, and after `stop`.
    std::string run(Events events, Purpose purpose) {
        events_ = std::move(events);
        if (!parseUrl(request_.url)) return describe(CURLE_URL_MALFORMAT);
        if (!prepare()) return describe(CURLE_OUT_OF_MEMORY);
        set(CURLOPT_FAILONERROR, purpose == Purpose::file ? 1L : 0L);
        curl_multi_add_handle(multi_, easy_);
        CURLcode code = follow();
        // Where no length was announced, nobody else could tell.
        if (code == CURLE_PARTIAL_FILE && purpose == Purpose::file && head().length) code = CURLE_OK;
        curl_multi_remove_handle(multi_, easy_);
        if (stopped_) return {};
        if (code != CURLE_OK && leadsInside_) code = CURLE_ABORTED_BY_CALLBACK;
        if (code == CURLE_OK || code == CURLE_HTTP_RETURNED_ERROR) announce();
        return code == CURLE_OK ? std::string() : describe(code);
    }

    void stop() {
        stopped_ = true;
        curl_multi_wakeup(multi_);
    }
    [[nodiscard]] bool stopped() const { return stopped_; }

    [[nodiscard]] int status() const {
        long status = 0;
        curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
        return static_cast<int>(status);
    }

  private:
    bool prepare() {
        if (easy_ == nullptr || multi_ == nullptr) return false;
        set(CURLOPT_URL, request_.url.c_str());
        set(CURLOPT_PROTOCOLS_STR, protocols);
        allowRedirections();
        set(CURLOPT_FOLLOWLOCATION, 1L);
        set(CURLOPT_MAXREDIRS, mostRedirections);
        set(CURLOPT_OPENSOCKETFUNCTION, &Connection::onConnect);
        set(CURLOPT_OPENSOCKETDATA, this);
        set(CURLOPT_USERAGENT, "Morvane");
        set(CURLOPT_BUFFERSIZE, 256L << 10);
        set(CURLOPT_NOSIGNAL, 1L);
        // Stopping never waits for a name server.
        set(CURLOPT_QUICK_EXIT, 1L);
        set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
        set(CURLOPT_NOPROXY, hostsWithoutProxy().c_str());
        set(CURLOPT_NOBODY, request_.headOnly ? 1L : 0L);
        if (request_.body) {
            set(CURLOPT_POST, 1L);
            set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body->size()));
            set(CURLOPT_POSTFIELDS, request_.body->data());
            addHeader("Expect:");  // no question first: servers that ignore it cost a second
        }
        for (const std::string& header : request_.headers) addHeader(header);
        set(CURLOPT_HTTPHEADER, headers_);
        set(CURLOPT_HEADERFUNCTION, &Connection::onHeader);
        set(CURLOPT_HEADERDATA, this);
        set(CURLOPT_WRITEFUNCTION, &Connection::onData);
        set(CURLOPT_WRITEDATA, this);
        set(CURLOPT_NOPROGRESS, 0L);
        set(CURLOPT_XFERINFOFUNCTION, &Connection::onProgress);
        set(CURLOPT_XFERINFODATA, this);
        return true;
    }

    /// What was asked for over a safe connection never comes over one that anybody could change. To be called
    /// for each answer: the way there may have been an unsafe one.
    void allowRedirections() {
        const char* address = nullptr;
        curl_easy_getinfo(easy_, CURLINFO_EFFECTIVE_URL, &address);
        const std::string scheme =
            lowerCase(parseUrl(address != nullptr ? address : request_.url).value_or(UrlParts()).scheme);
        set(CURLOPT_REDIR_PROTOCOLS_STR, scheme == "https" ? "https" : protocols);
    }

    template <class T>
    void set(CURLoption option, T value) {
        curl_easy_setopt(easy_, option, value);
    }

    void addHeader(const std::string& header) { headers_ = curl_slist_append(headers_, header.c_str()); }

    /// This machine's own servers are never asked for through a proxy.
    static std::string hostsWithoutProxy() {
        std::string hosts = "localhost,127.0.0.1,::1";
        for (const char* name : {"no_proxy", "NO_PROXY"}) {
            if (const char* value = std::getenv(name)) return hosts + "," + value;
        }
        return hosts;
    }

    CURLcode follow() {
        lastSign_ = Clock::now();
        for (int running = 1; running != 0;) {
            if (curl_multi_perform(multi_, &running) != CURLM_OK) return CURLE_RECV_ERROR;
            if (stopped_) return CURLE_ABORTED_BY_CALLBACK;
            if (headEnded_) announce();
            if (running == 0) break;
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(lastSign_ + request_.idleTimeout - Clock::now());
            if (left.count() <= 0) return CURLE_OPERATION_TIMEDOUT;
            constexpr std::int64_t longest = 60'000;
            curl_multi_poll(multi_, nullptr, 0,
                            static_cast<int>(std::min<std::int64_t>(left.count(), longest)), nullptr);
            if (stopped_) return CURLE_ABORTED_BY_CALLBACK;
        }
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
            if (message->msg == CURLMSG_DONE) return message->data.result;
        }
        return CURLE_RECV_ERROR;
    }

    void announce() {
        if (std::exchange(announced_, true) || !events_.response) return;
        if (!events_.response(head())) stop();
    }

    [[nodiscard]] HttpHead head() const {
        HttpHead head = head_;
        head.status = status();
        curl_off_t length = -1;
        curl_easy_getinfo(easy_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
        if (length >= 0) head.length = static_cast<std::uint64_t>(length);
        return head;
    }

    /// Keeps what is told of the body; each answer on the way starts anew.
    void noteHeader(const std::string& lowerCased, std::string_view line) {
        const std::array<std::pair<std::string_view, std::string*>, 4> wanted{
            {{"etag:", &head_.entityTag},
             {"last-modified:", &head_.lastModified},
             {"date:", &head_.date},
             {"content-range:", &head_.contentRange}}};
        for (const auto& [name, value] : wanted) {
            if (!lowerCased.starts_with(name)) continue;
            line.remove_prefix(std::min(line.find_first_not_of(" \t", name.size()), line.size()));
            *value = line.substr(0, line.find_last_not_of(" \t\r\n") + 1);
        }
    }

    /// Asked for each address, as the name server has given it: a name that leads elsewhere the second time gains
    /// nothing. With a proxy it is the proxy's, and whoever runs that decides.
    static curl_socket_t onConnect(void* self, curlsocktype, curl_sockaddr* address) {
        auto& connection = *static_cast<Connection*>(self);
        const bool isPublic = isPublicAddress(address->addr);
        long redirections = 0;
        curl_easy_getinfo(connection.easy_, CURLINFO_REDIRECT_COUNT, &redirections);
        connection.leadsInside_ = redirections > 0 && connection.isFromOutside_ && !isPublic;
        if (connection.leadsInside_) return CURL_SOCKET_BAD;
        connection.isFromOutside_ |= isPublic;
        return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    }

    static std::size_t onHeader(char* bytes, std::size_t, std::size_t count, void* self) {
        auto& connection = *static_cast<Connection*>(self);
        connection.lastSign_ = Clock::now();
        std::string line(bytes, count);
        for (char& c : line) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (line.starts_with("http/")) {
            connection.redirects_ = false;
            connection.head_ = HttpHead();
        }
        connection.noteHeader(line, {bytes, count});
        if (line.starts_with("location:")) connection.redirects_ = true;
        if (line == "\r\n" || line == "\n") {
            connection.allowRedirections();
            const int status = connection.status();
            const bool passing = status < 200 || (status < 400 && status >= 300 && connection.redirects_);
            connection.headEnded_ = !passing;
        }
        return count;
    }

    static std::size_t onData(char* bytes, std::size_t, std::size_t count, void* self) {
        auto& connection = *static_cast<Connection*>(self);
        connection.announce();
        if (!connection.stopped_ && !connection.events_.data({bytes, count})) connection.stop();
        // Afterwards: while the receiver held this thread up, the server was not silent.
        connection.lastSign_ = Clock::now();
        return connection.stopped_ ? 0 : count;
    }

    static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t uploaded) {
        auto& connection = *static_cast<Connection*>(self);
        if (uploaded != connection.uploaded_) connection.lastSign_ = Clock::now();
        connection.uploaded_ = uploaded;
        return connection.stopped_ ? 1 : 0;
    }

    const HttpRequest request_;
    Events events_;
    CURL* const easy_ = curl_easy_init();
    CURLM* const multi_ = curl_multi_init();
    curl_slist* headers_ = nullptr;
    std::atomic<bool> stopped_ = false;
    HttpHead head_;               // what the headers of the last answer say
    Clock::time_point lastSign_;  // when anything last moved
    curl_off_t uploaded_ = 0;
    bool isFromOutside_ = false, leadsInside_ = false;  // of the addresses so far, of the last one
    bool redirects_ = false, headEnded_ = false, announced_ = false;
};

bool isSchemeCharacter(unsigned char c) {
    return std::isalnum(c) != 0 || c == '+' || c == '-' || c == '.';
}

/// The host of "user:password@host:port"; nothing when that is malformed.
std::optional<std::string> hostOf(std::string_view authority) {
    if (const std::size_t at = authority.rfind('@'); at != std::string_view::npos)
        authority.remove_prefix(at + 1);
    std::string_view host, port;
    if (authority.starts_with('[')) {
        const std::size_t end = authority.find(']');
        if (end == std::string_view::npos) return std::nullopt;
        host = authority.substr(1, end - 1);
        port = authority.substr(end + 1);
    } else {
        host = authority.substr(0, authority.find(':'));
        port = authority.substr(host.size());
        if (host.find_first_of("[]<>\"\\^`{|}") != std::string_view::npos) return std::nullopt;
    }
    if (port.starts_with(':')) {
        port.remove_prefix(1);
    } else if (!port.empty()) {
        return std::nullopt;
    }
    const bool digits =
        std::all_of(port.begin(), port.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
    if (host.empty() || !digits || port.size() > 5) return std::nullopt;
    return std::string(host);
}

bool isPublicV4(std::uint32_t address) {
    struct Network {
        std::uint32_t first;
        int bits;
    };
    constexpr std::array networks{
        Network{0x00000000, 8},  Network{0x0A000000, 8},  Network{0x64400000, 10}, Network{0x7F000000, 8},
        Network{0xA9FE0000, 16}, Network{0xAC100000, 12}, Network{0xC0A80000, 16}, Network{0xE0000000, 3},
    };
    return std::ranges::none_of(networks, [&](const Network& network) {
        return address >> (32 - network.bits) == network.first >> (32 - network.bits);
    });
}

bool isPublicV6(const in6_addr& address) {
    const auto& bytes = address.s6_addr;
    const auto v4At = [&](int place) {
        std::uint32_t number = 0;
        for (int byte = 0; byte < 4; ++byte) number = number << 8U | bytes[place + byte];
        return number;
    };
    // Addresses of the older kind, mapped, compatible (::1 and :: among them), translated and tunnelled.
    if (IN6_IS_ADDR_V4MAPPED(&address) || std::all_of(bytes, bytes + 12, [](auto byte) { return byte == 0; }))
        return isPublicV4(v4At(12));
    constexpr std::array<std::uint8_t, 12> translated{0x00, 0x64, 0xFF, 0x9B};
    if (std::equal(translated.begin(), translated.end(), bytes)) return isPublicV4(v4At(12));
    if (bytes[0] == 0x20 && bytes[1] == 0x02) return isPublicV4(v4At(2));
    const bool isLocal = (bytes[0] & 0xFEU) == 0xFC || (bytes[0] == 0xFE && (bytes[1] & 0x80U) != 0);
    return !isLocal && bytes[0] != 0xFF;
}

}  // namespace

bool isPublicAddress(const sockaddr& address) {
    if (address.sa_family == AF_INET)
        return isPublicV4(ntohl(reinterpret_cast<const sockaddr_in&>(address).sin_addr.s_addr));
    return address.sa_family == AF_INET6 &&
           isPublicV6(reinterpret_cast<const sockaddr_in6&>(address).sin6_addr);
}

std::optional<UrlParts> parseUrl(std::string_view url) {
    const auto refused = [](unsigned char c) { return c <= ' ' || c == 0x7f; };
    if (std::any_of(url.begin(), url.end(), refused)) return std::nullopt;
    const std::size_t colon = url.find("://");
    if (colon == std::string_view::npos || colon == 0) return std::nullopt;
    const std::string_view scheme = url.substr(0, colon);
    if (std::isalpha(static_cast<unsigned char>(scheme.front())) == 0 ||
        !std::all_of(scheme.begin(), scheme.end(), isSchemeCharacter)) {
        return std::nullopt;
    }
    std::string_view rest = url.substr(colon + 3);
    rest = rest.substr(0, rest.find_first_of("?#"));
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    const auto host = hostOf(rest.substr(0, slash));
    if (!host) return std::nullopt;
    return UrlParts{std::string(scheme), *host, std::string(rest.substr(slash))};
}

bool isWebLink(std::string_view link) {
    const auto parts = parseUrl(link);
    const std::string scheme = parts ? lowerCase(parts->scheme) : "";
    return scheme == "http" || scheme == "https";
}

bool isFetchableLink(std::string_view link) {
    const auto parts = parseUrl(link);
    return isWebLink(link) || (parts && lowerCase(parts->scheme) == "ftp");
}

namespace http {

HttpResponse fetch(const HttpRequest& request, Cancellation* cancellation) {
    Connection connection(request);
    HttpResponse response;
    std::optional<Cancellation::Interrupter> interrupter;
    if (cancellation != nullptr) interrupter.emplace(*cancellation, [&connection] { connection.stop(); });
    bool tooLong = false;
    const auto take = [&](std::string_view bytes) {
        tooLong = response.body.size() + bytes.size() > request.longestBody;
        if (!tooLong) response.body += bytes;
        return !tooLong;
    };
    const auto announced = [&](const HttpHead& head) {
        response.announcedLength = head.length;
        return true;
    };
    response.error = connection.run({.response = announced, .data = take}, Purpose::answer);
    if (tooLong) {
        response.body.clear();
        response.error = "The answer is larger than " + std::to_string(request.longestBody >> 20) + " MB.";
    } else if (connection.stopped()) {
        throw Cancelled();
    }
    response.status = connection.status();
    return response;
}

std::string receive(const HttpRequest& request, const std::function<Result<>(const HttpHead& head)>& head,
                    const std::function<Result<>(std::string_view bytes)>& body, Cancellation& cancellation) {
    Connection connection(request);
    const Cancellation::Interrupter interrupter(cancellation, [&connection] { connection.stop(); });
    std::string refusal;
    const auto isTaken = [&refusal](const Result<>& taken) {
        if (!taken) refusal = taken.error().reason();
        return taken.has_value();
    };
    const std::string error =
        connection.run({.response = [&](const HttpHead& answer) { return isTaken(head(answer)); },
                        .data = [&](std::string_view bytes) { return isTaken(body(bytes)); }},
                       Purpose::file);
    return refusal.empty() ? error : refusal;
}

struct Transfer::State {
    State(MainQueue& mainQueue, const HttpRequest& request, TransferHandlers transferHandlers)
        : queue(mainQueue), handlers(std::move(transferHandlers)), connection(request) {}

    MainQueue& queue;
    const TransferHandlers handlers;
    Connection connection;
    // The main thread's, and that of whoever ends the transfer once the queue is closed.
    std::atomic<bool> over = false;
    std::thread thread;

    /// What the main thread has not been told of yet: one event tells of all of it, so that a main thread that
    /// is busy elsewhere finds no heap of them.
    std::atomic<std::uint64_t> untold = 0;

    // The transfer's thread's: the length, and what `body` has refused with.
    std::optional<std::uint64_t> announced;
    std::string refusal;

    void tellData(const std::shared_ptr<State>& self, std::uint64_t bytes) {
        if (bytes == 0 || untold.fetch_add(bytes) != 0) return;
        queue.post([self] {
            const std::uint64_t count = self->untold.exchange(0);
            if (!self->over && self->handlers.data) self->handlers.data(count);
        });
    }

    /// `self` keeps the handlers alive while one of them destroys the transfer.
    static void follow(const std::shared_ptr<State>& self) {
        Events events;
        events.response = [&self](const HttpHead& head) {
            const auto taken = self->handlers.head ? self->handlers.head(head) : Result<>();
            if (!taken) {
                self->refusal = taken.error().reason();
                return false;
            }
            self->announced = head.length;
            self->queue.post([self, length = head.length] {
                if (!self->over && self->handlers.response) self->handlers.response(length);
            });
            return true;
        };
        events.data = [&self](std::string_view bytes) {
            const auto taken = self->handlers.body ? self->handlers.body(bytes, self->announced) : Result<>();
            if (!taken) {
                self->refusal = taken.error().reason();
                return false;
            }
            self->tellData(self, bytes.size());
            return true;
        };
        std::string error = self->connection.run(std::move(events), Purpose::file);
        if (!self->refusal.empty()) error = self->refusal;
        self->queue.post([self, error] {
            if (self->over.exchange(true)) return;
            if (error.empty()) {
                if (self->handlers.ended) self->handlers.ended();
            } else if (self->handlers.failed) {
                self->handlers.failed(error);
            }
        });
    }
};

Transfer::Transfer(MainQueue& queue, const HttpRequest& request, TransferHandlers handlers)
    : state_(std::make_shared<State>(queue, request, std::move(handlers))) {
    // The thread does not own the state: it must not be the one that ends it.
    state_->thread = std::thread([this] { State::follow(state_); });
}

Transfer::~Transfer() {
    cancel();
    state_->thread.join();
}

void Transfer::cancel() {
    state_->over = true;
    state_->connection.stop();
}

}  // namespace http
}  // namespace morvane
