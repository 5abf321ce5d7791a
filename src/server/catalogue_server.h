// server/catalogue_server.h: the catalogue over HTTP, alone or inside the application. docs/catalogue-http.md
// describes every address. Serves while the object lives.
//
// The content folder holds:
//     catalogue.db, secret            made by the server
//     ports/<ID>/                     the published files: <source>.cki, Icon.png
//     winetricks/winetricks           the verb script, and winetricks/<component>/<file>
//     instructions                    lines SOURCE=LINK: the instruction videos
//     pages/                          front.html, news.html, forum.html in place of the built-in ones
//     files/                          served as they are, where the catalogue has no such address
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/result.h"

namespace morvane {

class CatalogueServer {
  public:
    struct Options {
        std::string content;
        std::string listen = "127.0.0.1:0";  ///< "127.0.0.1:8080", "[::1]:8080"; port 0 is a free one
        std::size_t threads = 8;             ///< how many clients are answered at once
        /// Votes of one address within an hour; more are refused.
        std::int64_t votesPerHour = 60;
        /// Behind another server: the sender of a mail or a vote is the last address of "X-Forwarded-For".
        bool behindProxy = false;
        /// How long a request waits for a database that another process holds.
        std::chrono::milliseconds patience{5000};
        /// Told, on any thread, why a request could not be answered.
        std::function<void(const std::string&)> complain;
    };

    /// Serves from now on. A failure when the folder or the address cannot be used.
    [[nodiscard]] static Result<std::unique_ptr<CatalogueServer>> start(const Options& options);
    ~CatalogueServer();  ///< ends the transfers and joins the threads
    CatalogueServer(const CatalogueServer&) = delete;
    CatalogueServer& operator=(const CatalogueServer&) = delete;

    /// "http://127.0.0.1:<port>/"
    [[nodiscard]] std::string baseAddress() const;

  private:
    struct State;
    explicit CatalogueServer(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}  // namespace morvane
