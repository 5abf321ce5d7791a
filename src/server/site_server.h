// server/site_server.h: the wrapper technology's download site, embedded: a server on a free loopback port
// inside this process, so that a fresh machine needs no other. Serves while the object lives.
//
//     /Wrapper/NewestVersion.txt, /Wrapper/<version>.app.tar.7z     from the site folder
//     /Engines/EngineList.txt                                      one name a line
//     /Engines/<name>.tar.7z                                       made by the callback, when it is first
//     asked for
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/result.h"

namespace morvane {

class SiteServer {
  public:
    /// The callbacks run on the server's threads, one call at a time. A client waits while an archive is
    /// made, so that must take seconds, not a minute: the downloader gives up on a silent server.
    struct Content {
        std::string siteFolder;  ///< holds the folder "Wrapper"
        std::function<std::vector<std::string>()> engineNames;
        /// The path of the engine's archive, which must stay while the server lives. A failure is a page not
        /// found.
        std::function<Result<std::string>(const std::string& name)> engineArchive;
    };

    explicit SiteServer(Content content);
    ~SiteServer();  ///< ends the transfers and joins the threads
    SiteServer(const SiteServer&) = delete;
    SiteServer& operator=(const SiteServer&) = delete;

    /// "http://127.0.0.1:<port>/"; empty when no port could be opened.
    [[nodiscard]] std::string baseAddress() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace morvane
