// server/content_server.h: the files of a folder over HTTP, for whoever keeps a download site of his own:
// verb scripts, installers, engines, extra files. Serves while the object lives.
//
// GET and HEAD of a file below the folder; a query is ignored, as are doubled slashes. Not found: folders,
// hidden files and whatever lies in a hidden folder, links that lead to such or out of the folder.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/result.h"

namespace morvane {

class ContentServer {
  public:
    explicit ContentServer(std::string folder);
    ~ContentServer();  ///< ends the transfers and joins the threads
    ContentServer(const ContentServer&) = delete;
    ContentServer& operator=(const ContentServer&) = delete;

    /// Serves from now on. "127.0.0.1:8080", "[::1]:8080"; port 0 is a free one. Once.
    [[nodiscard]] std::optional<Failure> listenOn(const std::string& address);
    /// "http://127.0.0.1:<port>/"
    [[nodiscard]] std::string baseAddress() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace morvane
