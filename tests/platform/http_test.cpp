#include "platform/http.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <thread>

#include "platform/cancellation.h"
#include "platform/descriptor.h"
#include "platform/main_queue.h"
#include "support/loopback_site.h"

namespace morvane {
namespace {

using http::Transfer;
using http::TransferHandlers;
using testing::LoopbackSite;
using testing::SiteAnswer;

SiteAnswer redirectionTo(const std::string& address) {
    return {.status = 302, .body = "moved", .contentType = "text/plain\r\nLocation: " + address};
}

/// Short where the server is silent on purpose; elsewhere a busy machine must not look like a silent one.
std::chrono::seconds limitFor(const std::string& address) {
    const bool silent = address.ends_with("stall") || address.ends_with("silent");
    return std::chrono::seconds(silent ? 1 : 60);
}

const std::string big(30 << 20, 'b');

/// A site with every kind of answer.
class Site : public LoopbackSite {
  public:
    Site() {
        answer("/page", {.body = std::string("a\0b", 3)});
        answer("/big", {.body = big});
        answer("/error", {.status = 500, .body = "sorry"});
        answer("/moved", redirectionTo(baseAddress() + "page"));
        answer("/circle", redirectionTo(baseAddress() + "circle"));
        answer("/to-file", redirectionTo("file:///etc/passwd"));
        answer("/short", {.body = "half", .announcedLength = 8});
        answer("/long", {.body = "whole and more", .announcedLength = 5});
        answer("/without", {.body = "until the end", .withoutLength = true});
        answer("/drop", {.body = "", .drop = true});
        answer("/stall", {.body = "half", .announcedLength = 8, .stall = true});
        answer("/refused", {.body = "more than there is"});
        answer("/silent", {.body = "", .announcedLength = 9, .stall = true});
    }
};

TEST(Fetch, Answers) {
    const Site site;
    const std::string base = site.baseAddress();
    const struct {
        std::string url;
        int status;
        std::string body, error;
    } rows[] = {
        {base + "page", 200, std::string("a\0b", 3), ""},
        {base + "error", 500, "sorry", ""},
        {base + "moved", 200, std::string("a\0b", 3), ""},
        {base + "circle", 302, "", "The server redirects without end"},
        {base + "to-file", 302, "", "Addresses of this kind are not supported"},
        {base + "short", 200, "half", "The connection was lost"},
        {base + "long", 200, "whole", ""},
        {base + "without", 200, "until the end", ""},
        {base + "drop", 0, "", "The server closed the connection without an answer"},
        {base + "stall", 200, "half", "The server did not answer in time"},
        {"http://127.0.0.1:1/", 0, "", "The server could not be reached"},
        {"file:///etc/passwd", 0, "", "The address is not valid"},
        {"gopher://127.0.0.1/x", 0, "", "Addresses of this kind are not supported"},
    };
    for (const auto& row : rows) {
        const HttpResponse response = http::fetch({.url = row.url, .idleTimeout = limitFor(row.url)});
        EXPECT_EQ(response.status, row.status) << row.url;
        EXPECT_EQ(response.body, row.body) << row.url;
        EXPECT_EQ(response.error, row.error) << row.url;
    }
}

TEST(PublicAddress, IsOneOutsideOfEveryNetworkOfOurs) {
    const struct {
        const char* address;
        bool expected;
    } rows[] = {
        {"8.8.8.8", true},
        {"127.0.0.1", false},
        {"0.0.0.0", false},
        {"10.1.2.3", false},
        {"172.15.0.1", true},
        {"172.16.0.1", false},
        {"172.31.255.1", false},
        {"172.32.0.1", true},
        {"192.168.1.1", false},
        {"169.254.169.254", false},
        {"100.64.0.1", false},
        {"100.128.0.1", true},
        {"224.0.0.1", false},
        {"2606:4700::1111", true},
        {"::1", false},
        {"::", false},
        {"fe80::1", false},
        {"fd12::1", false},
        {"ff02::1", false},
        {"::ffff:10.0.0.1", false},
        {"::ffff:8.8.8.8", true},
        {"::127.0.0.1", false},
        {"64:ff9b::7f00:1", false},
        {"64:ff9b::808:808", true},
        {"2002:7f00:1::", false},
        {"2002:808:808::", true},
    };
    for (const auto& row : rows) {
        sockaddr_storage address{};
        auto& v4 = reinterpret_cast<sockaddr_in&>(address);
        auto& v6 = reinterpret_cast<sockaddr_in6&>(address);
        if (::inet_pton(AF_INET, row.address, &v4.sin_addr) == 1) {
            address.ss_family = AF_INET;
        } else {
            ASSERT_EQ(::inet_pton(AF_INET6, row.address, &v6.sin6_addr), 1) << row.address;
            address.ss_family = AF_INET6;
        }
        EXPECT_EQ(isPublicAddress(reinterpret_cast<const sockaddr&>(address)), row.expected) << row.address;
    }
}

/// Gives the loopback device of the calling thread's network an address; false when this user may not.
bool giveAddress(const char* name, const char* address) {
    const Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request{};
    std::strncpy(request.ifr_name, name, IFNAMSIZ - 1);
    auto& place = reinterpret_cast<sockaddr_in&>(request.ifr_addr);
    place.sin_family = AF_INET;
    ::inet_pton(AF_INET, address, &place.sin_addr);
    if (::ioctl(socket.get(), SIOCSIFADDR, &request) != 0) return false;
    request.ifr_flags = IFF_UP | IFF_LOOPBACK | IFF_RUNNING;
    return ::ioctl(socket.get(), SIOCSIFFLAGS, &request) == 0;
}

/// Answers every connection, whatever it asks for.
class PlainServer {
  public:
    explicit PlainServer(int port) : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in place{};
        place.sin_family = AF_INET;
        place.sin_port = htons(static_cast<std::uint16_t>(port));
        EXPECT_EQ(::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&place), sizeof place), 0);
        EXPECT_EQ(::listen(listener_.get(), 8), 0);
    }
    ~PlainServer() {
        ::shutdown(listener_.get(), SHUT_RDWR);
        thread_.join();
    }
    std::string answer = "HTTP/1.1 200 OK\r\nContent-Length: 6\r\nConnection: close\r\n\r\nsecret";
    std::atomic<int> connections = 0;

    void start() {
        thread_ = std::thread([this] {
            for (;;) {
                const Descriptor client(::accept(listener_.get(), nullptr, nullptr));
                if (!client.valid()) return;
                ++connections;
                std::array<char, 4096> head{};
                static_cast<void>(!::read(client.get(), head.data(), head.size()));
                static_cast<void>(!::write(client.get(), answer.data(), answer.size()));
            }
        });
    }

  private:
    Descriptor listener_;
    std::thread thread_;
};

TEST(Fetch, IsNotRedirectedFromOutsideIntoTheOwnNetwork) {
    bool isAllowed = false;
    // In a network of its own, in which a public address is this machine's.
    std::thread([&] {
        isAllowed = ::unshare(CLONE_NEWNET) == 0 && giveAddress("lo", "127.0.0.1") &&
                    giveAddress("lo:1", "8.8.4.4") && giveAddress("lo:2", "10.0.0.1");
        if (!isAllowed) return;
        PlainServer inside(8002);
        const struct {
            const char *from, *to;
            bool follows;
        } rows[] = {
            {"8.8.4.4", "127.0.0.1", false}, {"8.8.4.4", "10.0.0.1", false},  {"8.8.4.4", "localhost", false},
            {"8.8.4.4", "8.8.4.4", true},    {"127.0.0.1", "10.0.0.1", true}, {"10.0.0.1", "127.0.0.1", true},
        };
        int expectedConnections = 0;
        int port = 9000;
        inside.start();
        for (const auto& row : rows) {
            // A server a row, since its answer is settled before it starts.
            PlainServer first(++port);
            first.answer =
                "HTTP/1.1 302 Found\r\nContent-Length: 0\r\nConnection: close\r\nLocation: http://" +
                std::string(row.to) + ":8002/\r\n\r\n";
            first.start();
            const HttpResponse response =
                http::fetch({.url = "http://" + std::string(row.from) + ":" + std::to_string(port) + "/"});
            expectedConnections += row.follows ? 1 : 0;
            EXPECT_EQ(response.body, row.follows ? "secret" : "") << row.from << " to " << row.to;
            EXPECT_EQ(response.error,
                      row.follows ? "" : "The server redirects into a network that is not its own")
                << row.from << " to " << row.to;
        }
        EXPECT_EQ(inside.connections, expectedConnections);
    }).join();
    if (!isAllowed) GTEST_SKIP() << "this user makes no networks";
}

TEST(Fetch, HasBoundsAndCanAskForTheHeadOnly) {
    Site site;
    const HttpResponse bounded = http::fetch({.url = site.baseAddress() + "big", .longestBody = 1 << 20});
    EXPECT_EQ(bounded.error, "The answer is larger than 1 MB.");
    EXPECT_EQ(bounded.body, "");
    const HttpResponse head = http::fetch({.url = site.baseAddress() + "big", .headOnly = true});
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.body, "");
    EXPECT_EQ(head.announcedLength, big.size());
}

TEST(Fetch, Cancellation) {
    const Site site;
    const HttpRequest request{.url = site.baseAddress() + "stall"};
    Cancellation cancellation;
    ASSERT_TRUE(cancellation.begin());
    std::thread user([&] { cancellation.request(); });
    EXPECT_THROW(static_cast<void>(http::fetch(request, &cancellation)), Cancelled);
    user.join();
    EXPECT_THROW(static_cast<void>(http::fetch(request, &cancellation)), Cancelled) << "before the start";
}

/// A main queue, and what a transfer told on it.
class Transfers : public ::testing::Test {
  public:
    MainQueue queue;
    const Site site;
    std::string events, received;
    std::uint64_t told = 0;
    bool over = false;

    HttpRequest to(const std::string& path) const {
        return {.url = site.baseAddress() + path, .idleTimeout = limitFor(path)};
    }
    TransferHandlers recording() {
        TransferHandlers handlers;
        handlers.response = [this](std::optional<std::uint64_t> length) {
            EXPECT_TRUE(queue.isMainThread());
            events += "response " + (length ? std::to_string(*length) : "unknown");
        };
        handlers.body = [this](std::string_view bytes, std::optional<std::uint64_t> length) -> Result<> {
            EXPECT_FALSE(queue.isMainThread());
            received += bytes;
            if (length == 18) {
                received.clear();
                return Failure{"", "no room"};
            }
            return {};
        };
        handlers.data = [this](std::uint64_t bytes) {
            EXPECT_TRUE(queue.isMainThread());
            EXPECT_GT(bytes, 0U);
            told += bytes;
        };
        handlers.failed = [this](const std::string& description) {
            events += " failed: " + description;
            over = true;
        };
        handlers.ended = [this] {
            events += " ended";
            over = true;
        };
        return handlers;
    }
};

TEST_F(Transfers, Events) {
    const struct {
        std::string path, body, events;
    } rows[] = {
        {"big", big, "response 31457280 ended"},
        {"without", "until the end", "response unknown ended"},
        {"short", "half", "response 8 ended"},
        {"drop", "", " failed: The server closed the connection without an answer"},
        {"moved", std::string("a\0b", 3), "response 3 ended"},
        {"missing", "", "response 21 failed: The server does not give the file"},
        {"refused", "", "response 18 failed: no room"},
        {"silent", "", "response 9 failed: The server did not answer in time"},
    };
    for (const auto& row : rows) {
        events.clear();
        received.clear();
        told = 0;
        over = false;
        const Transfer transfer(queue, to(row.path), recording());
        queue.runUntil([this] { return over; });
        EXPECT_EQ(events, row.events) << row.path;
        EXPECT_TRUE(received == row.body) << row.path << ": " << received.size();
        EXPECT_EQ(told, received.size());
    }
}

TEST_F(Transfers, SilentOnceCancelledOrDestroyedInAnyHandler) {
    for (const bool destroys : {false, true}) {
        for (const std::string where : {"response", "data", "ended", "failed"}) {
            std::unique_ptr<Transfer> transfer;
            over = false;
            const auto stopIn = [&](const std::string& handler) {
                EXPECT_FALSE(over) << handler << " after " << where;
                if (handler != where) return;
                destroys ? transfer.reset() : transfer->cancel();
                over = true;
            };
            transfer =
                std::make_unique<Transfer>(queue, to(where == "failed" ? "drop" : "big"),
                                           TransferHandlers{.response = [&](auto) { stopIn("response"); },
                                                            .data = [&](auto) { stopIn("data"); },
                                                            .failed = [&](const auto&) { stopIn("failed"); },
                                                            .ended = [&] { stopIn("ended"); }});
            queue.runUntil([this] { return over; });
            queue.drain();  // what was on its way already
            transfer.reset();
            queue.drain();
        }
    }
}

TEST_F(Transfers, AMainThreadThatIsElsewhereFindsOneEventForAllThatHasCome) {
    std::atomic<std::uint64_t> arrived = 0;
    int calls = 0;
    TransferHandlers handlers = recording();
    handlers.body = [&](std::string_view bytes, auto) -> Result<> {
        arrived += bytes.size();
        arrived.notify_all();
        return {};
    };
    handlers.data = [&](std::uint64_t bytes) {
        ++calls;
        told += bytes;
    };
    const Transfer transfer(queue, to("big"), std::move(handlers));
    for (std::uint64_t seen = 0; seen < big.size(); seen = arrived) arrived.wait(seen);
    queue.runUntil([this] { return over; });
    EXPECT_EQ(told, big.size());
    EXPECT_LE(calls, 2) << "the last bytes may come while the first are told of";
}

TEST_F(Transfers, DestroyedWhileTheMainThreadIsElsewhere) {
    // Nobody drains the queue.
    for (const char* path : {"big", "stall"}) {
        std::make_unique<Transfer>(queue, to(path), recording()).reset();
        queue.drain();
        EXPECT_EQ(events, "");
    }
    const Transfer transfer(queue, to("big"), recording());
    queue.close();
}

TEST(ParseUrl, Parts) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"https://example.org", "https example.org "},
        {"ftp://user:p@ss@example.org:21/x", "ftp example.org /x"},
        {"http://[::1]:8080/x", "http ::1 /x"},
        {"http://example.org?q=/a#/b", "http example.org "},
        {"http://example.org/a?q=1#f", "http example.org /a"},
        {"x-y.z+1://h/", "x-y.z+1 h /"},
    };
    for (const auto& [url, expected] : rows) {
        const auto parts = parseUrl(url);
        ASSERT_TRUE(parts) << url;
        EXPECT_EQ(parts->scheme + " " + parts->host + " " + parts->path, expected) << url;
    }
    using namespace std::string_view_literals;
    for (const std::string_view url :
         {""sv, "example.org/a"sv, "http:/example.org"sv, "http:///path"sv, "://host/"sv, "1http://host/"sv,
          "http://host:port/"sv, "http://user@/"sv, "http://[::1/"sv, "http://[::1]x/"sv, "http://ho st/"sv,
          "http://host/a\nb"sv, "http://host/\0"sv, "http://host/\x7f"sv}) {
        EXPECT_FALSE(parseUrl(url)) << url;
    }
}

// Without questions to any name server: the tests run on machines without one.
TEST(Reachability, Hosts) {
    for (const char* host : {"localhost", "127.9.8.7"}) EXPECT_TRUE(isHostReachable(host)) << host;
    // Through the resolver, where a hosts file gives this machine its name.
    if (std::filesystem::exists("/etc/hosts")) {
        EXPECT_TRUE(isHostReachable("LocalHost"));
    }
    for (const char* host : {"ip6-localhost.invalid", "", "--help", "-s", "two words", "a/b", "999.1.1.1",
                             "255.255.255.255.255"}) {
        EXPECT_FALSE(isHostReachable(host)) << host;
    }
}

}  // namespace
}  // namespace morvane
