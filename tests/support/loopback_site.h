// tests/support/loopback_site.h: a real HTTP server on a free loopback port, answering what the test puts
// there.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace morvane::testing {

struct SiteAnswer {
    int status = 200;
    std::string body;
    std::string contentType = "application/octet-stream";
    /// When not negative, the length that is announced whatever the body's is; the connection closes after
    /// the body.
    long long announcedLength = -1;
    bool withoutLength = false;  ///< no length announced
    bool stall = false;          ///< sends the head and the body, then nothing more until the server stops
    bool drop = false;           ///< closes the connection without any answer
    /// Marks the file: requests for the rest of it, or only if it has changed, are answered as they want.
    std::string entityTag = {};
    long long cutAfter = -1;  ///< when not negative, so many bytes of the body are sent, of those announced
};

class LoopbackSite {
  public:
    LoopbackSite();
    ~LoopbackSite();  ///< stops the server and joins its threads
    LoopbackSite(const LoopbackSite&) = delete;
    LoopbackSite& operator=(const LoopbackSite&) = delete;

    /// "http://127.0.0.1:<port>/"
    [[nodiscard]] std::string baseAddress() const;
    /// Answers the path (without query, with its leading "/") from now on; anything else gets a 404 page.
    void answer(const std::string& path, SiteAnswer answer);
    /// Answers the path with each of the answers in turn, the last one for ever.
    void answerInTurn(const std::string& path, std::vector<SiteAnswer> answers);
    /// Every request so far: "GET /path?query", and "POST /path" followed by a line feed and the body.
    [[nodiscard]] std::vector<std::string> requests() const;
    /// For each of them how much of a body was sent, in bytes.
    [[nodiscard]] std::vector<std::size_t> sentSizes() const;

  private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace morvane::testing
