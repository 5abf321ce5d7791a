// platform/http.h: HTTP (http, https, ftp).
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/result.h"

struct sockaddr;

namespace morvane {

class Cancellation;
class MainQueue;

struct HttpRequest {
    std::string url;
    std::optional<std::string> body = {};   ///< a POST with this body when present, else a GET
    std::vector<std::string> headers = {};  ///< "Name: value" each
    /// Ends the transfer when nothing arrived for this long.
    std::chrono::seconds idleTimeout{60};
    /// `fetch` gives up on a body that is longer, in bytes: it is held in memory. A `Transfer` has no limit.
    std::uint64_t longestBody = std::uint64_t{64} << 20;
    bool headOnly = false;  ///< asks for the head of the answer only
};

struct HttpResponse {
    int status = 0;  ///< 0 when there was no response
    std::string body;
    std::string error;  ///< the transport error's description; empty when there was none
    std::optional<std::uint64_t> announcedLength;  ///< of the body, in bytes
};

/// What a server says of a body before it sends it; values as they stand, empty where there is none.
struct HttpHead {
    int status = 0;
    std::optional<std::uint64_t> length;  ///< of the body that comes, in bytes
    std::string entityTag, lastModified, date, contentRange;
};

struct UrlParts {
    std::string scheme, host, path;
};
/// The parts of an absolute address; nothing without a scheme and a host. The path may be empty.
[[nodiscard]] std::optional<UrlParts> parseUrl(std::string_view url);
/// Whether a connection to it leaves this machine and its network: not loopback, private, link-local, shared,
/// multicast or unspecified addresses, nor such ones inside of IPv6 ones.
[[nodiscard]] bool isPublicAddress(const sockaddr& address);
/// Whether a link that a stranger has written may be opened: http and https only.
[[nodiscard]] bool isWebLink(std::string_view link);
/// Whether it may be fetched: ftp as well.
[[nodiscard]] bool isFetchableLink(std::string_view link);

namespace http {

// All follow redirections, a bounded number of them: from https to https only, never to a file of this machine,
// and never from a public address to one of this machine or of its own network. None uses a cache.

/// Blocks until the whole response is there, of whatever status. With a cancellation, a request to it ends the
/// transfer and throws `Cancelled`.
[[nodiscard]] HttpResponse fetch(const HttpRequest& request, Cancellation* cancellation = nullptr);

/// Blocks as `fetch` does, but hands head and body on as they come, as a `Transfer` does, on the calling thread. A
/// status of 400 and more is a failure, without a body. The description of the failure; empty for none, and after a
/// request to the cancellation, which ends it.
[[nodiscard]] std::string receive(const HttpRequest& request,
                                  const std::function<Result<>(const HttpHead& head)>& head,
                                  const std::function<Result<>(std::string_view bytes)>& body,
                                  Cancellation& cancellation);

/// Where the body goes, and the events of a transfer. Exactly one of `failed` and `ended` comes, last. All but
/// `head` and `body` are called on the main thread.
struct TransferHandlers {
    /// On the transfer's own thread, before the first of the body, also when there is none; not without an
    /// answer. A failure ends the transfer, as failed, with why.
    std::function<Result<>(const HttpHead& head)> head;
    /// On the transfer's own thread, piece by piece; the network waits meanwhile. A failure ends the
    /// transfer, as failed, with why. Not called any more once the transfer is destroyed.
    std::function<Result<>(std::string_view bytes, std::optional<std::uint64_t> announcedLength)> body;
    std::function<void(std::optional<std::uint64_t> announcedLength)> response;
    /// So many bytes more have gone to `body`.
    std::function<void(std::uint64_t bytes)> data;
    std::function<void(const std::string& description)> failed;
    std::function<void()> ended;
};

/// A running GET. A status of 400 and more is a failure, without a body. A body that ends before the announced
/// length has `ended`: the receiver compares. Destroying or cancelling it stops the transfer; no handler is
/// called afterwards.
class Transfer {
  public:
    /// Starts at once, on a thread of its own that the destructor joins. To be destroyed on the main thread,
    /// or on any once the queue is closed.
    Transfer(MainQueue& queue, const HttpRequest& request, TransferHandlers handlers);
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;
    /// Main thread: no event comes after it.
    void cancel();

  private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace http

/// Whether the host can be reached: its name resolves and there is a route to an address of it; no connection
/// is opened. Answers within two seconds, "no" when resolving takes longer. Any thread.
[[nodiscard]] bool isHostReachable(const std::string& host);

}  // namespace morvane
