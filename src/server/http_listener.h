// server/http_listener.h: what the servers of this folder share: a listening socket with its threads, and the
// answer that is a file. Not for other folders: they see no server library.
#pragma once

#include <httplib.h>

#include <string>
#include <thread>

namespace morvane {

class HttpListener {
  public:
    ~HttpListener();  ///< ends the transfers and joins the threads

    /// To be given its routes before it listens.
    httplib::Server server;

    /// Serves from now on. Port 0: a free one. False when the address cannot be had.
    bool listenOn(const std::string& address, int port);
    [[nodiscard]] int port() const { return port_; }

  private:
    void start();

    int port_ = -1;
    std::thread thread_;
};

namespace http_answers {

/// Answers with the file, read as it is sent: archives are larger than what should be held in memory. Not
/// found when it cannot be read.
void file(const std::string& path, httplib::Response& response);

}  // namespace http_answers
}  // namespace morvane
