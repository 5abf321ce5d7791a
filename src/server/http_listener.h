// server/http_listener.h: what the servers of this folder share: a listening socket with a bounded number of
// threads, connections that are bounded in time and size, and the answer that is a file. Not for other
// folders: they see no server library.
#pragma once

#include <httplib.h>

#include <atomic>
#include <cstddef>
#include <future>
#include <string>
#include <thread>

#include "platform/descriptor.h"

namespace morvane {

/// A connection is kept for further requests, but gives its thread away when others wait. Each request and
/// each answer has seconds to begin with and then must flow at a modest speed: a client that dawdles is
/// dropped.
class BoundedServer : public httplib::Server {
  public:
    explicit BoundedServer(std::size_t threads);

    /// The most bytes of a request's body; more are answered with 413. Without a limit there is no body.
    void limitBody(std::size_t bytes);
    /// Serves from now on, on threads of its own. After the binding, once.
    bool serve();
    /// Ends the transfers and joins the threads.
    void end();
    /// For the queue of connections: whether one waits that no thread is free for.
    void setCrowded(bool crowded);

  private:
    bool process_and_close_socket(socket_t socket) override;

    std::size_t bodyLimit_ = 0;
    Descriptor ending_, crowd_;  // event counters that the waits look at
    std::atomic<bool> crowded_ = false;
    std::promise<void> started_;
    std::thread thread_;
};

class HttpListener {
  public:
    static constexpr std::size_t fewThreads = 4, manyThreads = 32;

    explicit HttpListener(std::size_t threads = fewThreads) : server(threads) {}
    ~HttpListener();  ///< ends the transfers and joins the threads
    HttpListener(const HttpListener&) = delete;
    HttpListener& operator=(const HttpListener&) = delete;

    /// To be given its routes before it listens.
    BoundedServer server;

    /// Serves from now on. Port 0: a free one. False when the address cannot be had.
    bool listenOn(const std::string& address, int port);
    [[nodiscard]] int port() const { return port_; }

  private:
    int port_ = -1;
};

namespace http_answers {

/// Answers with the file, read as it is sent: archives are larger than what should be held in memory. Not
/// found when it cannot be read.
void file(const std::string& path, httplib::Response& response,
          const std::string& contentType = "application/octet-stream");

}  // namespace http_answers
}  // namespace morvane
