// front/embedded_sites.h: what every front end's process begins with: the machine from its environment, and the
// download site and catalogue that are embedded unless others are configured. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/host.h"

namespace morvane {

class CatalogueServer;
class SiteServer;
namespace runtime {
class SystemEngineStore;
}

/// Folders, sites and search path of this process.
[[nodiscard]] Host::Options optionsOfProcess();

class EmbeddedSites {
  public:
    /// `say` gets what keeps one from being offered; any thread.
    explicit EmbeddedSites(std::function<void(const std::string&)> say);
    /// Waits for whoever answers a request.
    ~EmbeddedSites();
    EmbeddedSites(const EmbeddedSites&) = delete;
    EmbeddedSites& operator=(const EmbeddedSites&) = delete;

    /// Where neither the environment nor the build names an address, the user's settings may.
    static void completeFromSettings();
    /// Starts each one that has no address yet. Before anything asks a site.
    void provide();
    /// Ends the packing of an engine that somebody waits for.
    void cancel();

  private:
    void provideDownloads();
    void provideCatalogue();

    const std::function<void(const std::string&)> say_;
    std::unique_ptr<runtime::SystemEngineStore> engines_;  // what the embedded site offers
    std::unique_ptr<SiteServer> site_;
    std::unique_ptr<CatalogueServer> catalogue_;
};

}  // namespace morvane
