#include "platform/http.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/cancellation.h"
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

TEST(Fetch, Answers) {
    LoopbackSite site;
    const std::string base = site.baseAddress();
    site.answer("/page", {.body = std::string("a\0b", 3)});
    site.answer("/error", {.status = 500, .body = "sorry"});
    site.answer("/moved", redirectionTo(base + "page"));
    site.answer("/circle", redirectionTo(base + "circle"));
    site.answer("/to-file", redirectionTo("file:///etc/passwd"));
    site.answer("/short", {.body = "half", .announcedLength = 8});
    site.answer("/long", {.body = "whole and more", .announcedLength = 5});
    site.answer("/without", {.body = "until the end", .withoutLength = true});
    site.answer("/drop", {.body = "", .drop = true});
    site.answer("/stall", {.body = "half", .announcedLength = 8, .stall = true});
    const struct {
        std::string url;
        int status;
        std::string body, error;
    } rows[] = {
        {base + "page", 200, std::string("a\0b", 3), ""},
        {base + "error", 500, "sorry", ""},
        {base + "missing", 404, "<html>not here</html>", ""},
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
        {"no address", 0, "", "The address is not valid"},
        {"", 0, "", "The address is not valid"},
    };
    for (const auto& row : rows) {
        const HttpResponse response = http::fetch({.url = row.url, .idleTimeout = limitFor(row.url)});
        EXPECT_EQ(response.status, row.status) << row.url;
        EXPECT_EQ(response.body, row.body) << row.url;
        EXPECT_EQ(response.error, row.error) << row.url;
    }
}

TEST(Fetch, PostsTheBodyAsItIs) {
    LoopbackSite site;
    site.answer("/form", {.body = "thanks"});
    const std::string big(2 << 20, 'x');
    for (const std::string& body : {std::string("a=1&b=%26"), std::string(), big}) {
        const auto response = http::fetch({.url = site.baseAddress() + "form?q=1",
                                           .body = body,
                                           .headers = {"Content-Length: " + std::to_string(body.size())}});
        EXPECT_EQ(response.body, "thanks");
        EXPECT_EQ(site.requests().back() == "POST /form?q=1\n" + body, true) << body.size();
    }
}

TEST(Fetch, Cancellation) {
    LoopbackSite site;
    site.answer("/stall", {.body = "half", .announcedLength = 8, .stall = true});
    Cancellation cancellation;
    ASSERT_TRUE(cancellation.begin());
    std::thread user([&] { cancellation.request(); });
    EXPECT_THROW(static_cast<void>(http::fetch({.url = site.baseAddress() + "stall"}, &cancellation)),
                 Cancelled);
    user.join();
    EXPECT_THROW(static_cast<void>(http::fetch({.url = site.baseAddress() + "stall"}, &cancellation)),
                 Cancelled);
}

/// A main queue, and what a transfer told on it.
class Transfers : public ::testing::Test {
  public:
    MainQueue queue;
    LoopbackSite site;
    std::vector<std::string> events;
    std::string received;
    bool over = false;

    TransferHandlers recording() {
        return {.response =
                    [this](std::optional<std::uint64_t> length) {
                        EXPECT_TRUE(queue.isMainThread());
                        events.push_back("response " + (length ? std::to_string(*length) : "unknown"));
                    },
                .data =
                    [this](std::string_view chunk) {
                        EXPECT_TRUE(queue.isMainThread());
                        EXPECT_FALSE(chunk.empty());
                        received += chunk;
                    },
                .failed =
                    [this](const std::string& description) {
                        events.push_back("failed: " + description);
                        over = true;
                    },
                .ended =
                    [this] {
                        events.push_back("ended");
                        over = true;
                    }};
    }
};

TEST_F(Transfers, Events) {
    using Texts = std::vector<std::string>;
    const std::string big(30 << 20, 'b');  // more than may wait for the main thread
    site.answer("/whole", {.body = "12345"});
    site.answer("/big", {.body = big});
    site.answer("/empty", {.body = ""});
    site.answer("/unknown", {.body = "12", .withoutLength = true});
    site.answer("/short", {.body = "123", .announcedLength = 9});
    site.answer("/drop", {.body = "", .drop = true});
    site.answer("/moved", redirectionTo(site.baseAddress() + "whole"));
    site.answer("/silent", {.body = "", .announcedLength = 9, .stall = true});
    const struct {
        std::string path, body;
        Texts events;
    } rows[] = {
        {"whole", "12345", {"response 5", "ended"}},
        {"big", big, {"response 31457280", "ended"}},
        {"empty", "", {"response 0", "ended"}},
        {"unknown", "12", {"response unknown", "ended"}},
        {"short", "123", {"response 9", "ended"}},
        {"drop", "", {"failed: The server closed the connection without an answer"}},
        {"moved", "12345", {"response 5", "ended"}},
        {"missing", "<html>not here</html>", {"response 21", "ended"}},
        {"silent", "", {"response 9", "failed: The server did not answer in time"}},
    };
    for (const auto& row : rows) {
        events.clear();
        received.clear();
        over = false;
        const Transfer transfer(
            queue, {.url = site.baseAddress() + row.path, .idleTimeout = limitFor(row.path)}, recording());
        queue.runUntil([this] { return over; });
        EXPECT_EQ(events, row.events) << row.path;
        EXPECT_TRUE(received == row.body) << row.path << ": " << received.size();
    }
}

TEST_F(Transfers, DestroyedInsideAnyHandler) {
    site.answer("/big", {.body = std::string(30 << 20, 'b')});
    site.answer("/drop", {.drop = true});
    for (const std::string where : {"response", "data", "ended", "failed"}) {
        std::unique_ptr<Transfer> transfer;
        int calls = 0;
        const auto destroyIn = [&](const std::string& handler) {
            if (handler != where) return;
            ++calls;
            transfer.reset();
            over = true;
        };
        over = false;
        transfer = std::make_unique<Transfer>(
            queue, HttpRequest{.url = site.baseAddress() + (where == "failed" ? "drop" : "big")},
            TransferHandlers{.response = [&](auto) { destroyIn("response"); },
                             .data = [&](auto) { destroyIn("data"); },
                             .failed = [&](const auto&) { destroyIn("failed"); },
                             .ended = [&] { destroyIn("ended"); }});
        queue.runUntil([this] { return over; });
        queue.drain();  // what was on its way already
        EXPECT_EQ(calls, 1) << where;
    }
}

TEST_F(Transfers, SilentAfterACancel) {
    site.answer("/big", {.body = std::string(30 << 20, 'b')});
    bool cancelled = false;
    std::unique_ptr<Transfer> transfer;
    auto handlers = recording();
    handlers.data = [&](std::string_view) {
        EXPECT_FALSE(cancelled);
        transfer->cancel();
        cancelled = true;
    };
    transfer = std::make_unique<Transfer>(queue, HttpRequest{.url = site.baseAddress() + "big"}, handlers);
    queue.runUntil([&] { return cancelled; });
    transfer.reset();
    queue.drain();
    EXPECT_EQ(events, std::vector<std::string>{"response 31457280"});
}

TEST_F(Transfers, DestroyedWhileTheMainThreadIsElsewhere) {
    // Nobody drains the queue: the transfer has filled its share and waits for room.
    site.answer("/big", {.body = std::string(30 << 20, 'b')});
    site.answer("/stall", {.body = "", .stall = true});
    for (const char* path : {"big", "stall"}) {
        auto transfer =
            std::make_unique<Transfer>(queue, HttpRequest{.url = site.baseAddress() + path}, recording());
        transfer.reset();
        queue.drain();
        EXPECT_TRUE(events.empty());
    }
    const Transfer transfer(queue, HttpRequest{.url = site.baseAddress() + "big"}, recording());
    queue.close();
}

TEST(ParseUrl, Parts) {
    struct Row {
        std::string_view url;
        std::optional<std::string> scheme, host, path;
    };
    const Row rows[] = {
        {"http://example.org/a/b.zip", "http", "example.org", "/a/b.zip"},
        {"https://example.org", "https", "example.org", ""},
        {"ftp://user:p@ss@example.org:21/x", "ftp", "example.org", "/x"},
        {"http://[::1]:8080/x", "http", "::1", "/x"},
        {"http://example.org?q=/a#/b", "http", "example.org", ""},
        {"http://example.org/a?q=1#f", "http", "example.org", "/a"},
        {"x-y.z+1://h/", "x-y.z+1", "h", "/"},
        {"", {}, {}, {}},
        {"example.org/a", {}, {}, {}},
        {"http:/example.org", {}, {}, {}},
        {"http:///path", {}, {}, {}},
        {"://host/", {}, {}, {}},
        {"1http://host/", {}, {}, {}},
        {"http://host:port/", {}, {}, {}},
        {"http://user@/", {}, {}, {}},
        {"http://[::1/", {}, {}, {}},
        {"http://[::1]x/", {}, {}, {}},
        {"http://ho st/", {}, {}, {}},
        {"http://host/a\nb", {}, {}, {}},
        {std::string_view("http://host/\0", 13), {}, {}, {}},
        {"http://host/\x7f", {}, {}, {}},
    };
    for (const Row& row : rows) {
        const auto parts = parseUrl(row.url);
        ASSERT_EQ(parts.has_value(), row.scheme.has_value()) << row.url;
        if (!parts) continue;
        EXPECT_EQ(parts->scheme, row.scheme) << row.url;
        EXPECT_EQ(parts->host, row.host) << row.url;
        EXPECT_EQ(parts->path, row.path) << row.url;
    }
}

}  // namespace
}  // namespace morvane
