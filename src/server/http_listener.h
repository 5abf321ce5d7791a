// server/http_listener.h: HTTP for the servers of this folder: requests that are whole and unambiguous, answers
// that are texts or files, and bounds on everything that a client can hold. Not for other folders.
//
// One event loop reads and writes for all clients; handlers run on a few threads beside it, so that neither a
// slow client nor a slow handler keeps others waiting. What a client may do:
//     a request's head: 32 KB, and 15 seconds from the connection or the last answer, which is also how long
//     an idle connection is kept;
//     a body: of POST only, with one length, at most `bodyLimit` bytes;
//     a body and an answer: ten seconds, and one more for each 4,096 bytes that have come or been taken;
//     connections: 10,000 in all.
// An answer of 200 to GET and HEAD has a tag, by its bytes or its file, and becomes 304 for who has that one.
// Whatever else is a bad request. After one, and after a request with a length, the connection is closed:
// nothing that followed it is read as a request of its own.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "server/http_caching.h"

namespace morvane {

struct HttpQuery {
    std::string method;                             ///< "GET", "HEAD" or "POST"
    std::string path;                               ///< decoded, without the query; any bytes
    std::map<std::string, std::string> parameters;  ///< of the address, decoded; the first of each name
    std::map<std::string, std::string> headers;     ///< by name in lower case; repeated ones joined by ", "
    std::string body;
    std::string sender;  ///< the numeric address of the other end

    /// Of the address; empty when it is not there.
    [[nodiscard]] std::string parameter(const std::string& name) const;
    [[nodiscard]] std::string header(const std::string& lowerCaseName) const;
    /// The fields of a form in the body, decoded; the first of each name.
    [[nodiscard]] std::map<std::string, std::string> form() const;
};

struct HttpAnswer {
    int status = 200;
    std::string contentType = "text/plain; charset=utf-8";
    std::map<std::string, std::string> headers = {};
    /// One of the two; neither is an empty answer. A text may be shared among answers.
    std::shared_ptr<const std::string> text = {};
    std::string file = {};  ///< read while it is sent; a status of 404 and no content when it can't be opened
    Validators validators = {};  ///< of a text; a tag that is missing is made. A file has its own

    [[nodiscard]] static HttpAnswer of(std::string text, std::string contentType, int status = 200);
    [[nodiscard]] static HttpAnswer ofFile(std::string path,
                                           std::string contentType = "application/octet-stream");
};

class HttpListener {
  public:
    struct Options {
        std::size_t threads = 4;    ///< handlers that run at once
        std::size_t bodyLimit = 0;  ///< bytes; more are answered with 413
        /// Connections of one address; 0: no bound of its own, as behind a proxy.
        unsigned perAddress = 0;
        std::map<std::string, std::string> headers = {};  ///< of every answer
        /// Whether the handler may have to wait for something: such requests get half of the threads at most.
        /// Called on the event loop.
        std::function<bool(const HttpQuery&)> isSlow = {};
        /// Told, on any thread, what a handler has thrown. The client gets a status of 500.
        std::function<void(const std::string&)> complain = {};
    };
    /// Called on the handlers' threads, several at once.
    using Handler = std::function<HttpAnswer(const HttpQuery&)>;

    HttpListener(Options options, Handler handler);
    /// Ends the transfers, waits for the handlers that run, and joins the threads.
    ~HttpListener();
    HttpListener(const HttpListener&) = delete;
    HttpListener& operator=(const HttpListener&) = delete;

    /// Serves from now on; once. Port 0: a free one. False when the address cannot be had.
    bool listenOn(const std::string& address, int port);
    [[nodiscard]] int port() const { return port_; }

  private:
    class Server;
    std::unique_ptr<Server> server_;
    int port_ = -1;
};

}  // namespace morvane
