// building/build.h: a running creation as its stages see it.
//
// Stages are functions on a build. They run on the creation's worker thread, block it, and tell the user of their
// failures themselves; a false result stops the pipeline. A cancellation unwinds them as `Cancelled`.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/download.h"
#include "foundation/early_downloads.h"
#include "platform/private_folder.h"

namespace morvane {

/// What a build has made of a wrapper that was not there before.
struct MadeWrapper {
    /// Where it lies now; nothing before it is made, and when it was there already.
    std::optional<std::string> place;
    /// Where it lay while its prefix was created, from the moment at which it was moved there.
    std::optional<std::string> passingPath;
    std::optional<files::PrivateFolder> folder;  ///< holds that place
};

class Build : public Download {
  public:
    /// Asks the site for the newest master wrapper (at most once per process), so not on the main thread.
    explicit Build(std::shared_ptr<NSProgressView> progressWindow);

    // Lines of the progress panel.
    void setMessage(const std::string& message) const;
    void setSubtitle(const std::string& subtitle) const;
    /// With the progress line "Downloading %@...". As `downloadFile`.
    bool downloadFileToPath(const std::string& url, const std::string& path, const std::string& type,
                            const std::string& query = "");

    /// Fetches what the links lead to while the build goes on; `downloadFileToPath` waits for a link that is on its
    /// way, with one bar for all of them. Ends with the object that it gives.
    [[nodiscard]] std::shared_ptr<EarlyDownloads> fetchEarly(const std::vector<std::string>& links);

    /// The master wrapper's versions: what the site offers, and what is on disk.
    std::optional<std::string> newestCaskery, currentCaskery;
    MadeWrapper made;

  private:
    void waitForEarly(const std::string& link);

    std::weak_ptr<EarlyDownloads> early_;
};

}  // namespace morvane
