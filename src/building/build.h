// building/build.h: a running creation as its stages see it.
//
// Stages are functions on a build. They run on the creation's worker thread, block it, and tell the user of their
// failures themselves; a false result stops the pipeline. A cancellation unwinds them as `Cancelled`.
#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "building/build_journal.h"
#include "building/build_record.h"
#include "foundation/download.h"
#include "foundation/early_downloads.h"
#include "platform/private_folder.h"
#include "platform/result.h"

namespace morvane {

/// What a build has made of a wrapper that was not there before.
struct MadeWrapper {
    /// Where it lies now; nothing before it is made, and when it was there already.
    std::optional<std::string> place;
    /// Where it lay while its prefix was created, from the moment at which it was moved there.
    std::optional<std::string> passingPath;
    std::optional<files::PrivateFolder> folder;  ///< holds that place
};

/// Ends a build: a file is not the one that was wanted. Only the entry operations catch it.
class BuildRefused : public std::exception {
  public:
    explicit BuildRefused(Failure refusal) : failure(std::move(refusal)) {}
    const Failure failure;
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

    /// Of what the wrapper is made; what it must be made of, where that is settled.
    BuildRecord record;
    std::optional<BuildRecord> locked;
    std::unique_ptr<BuildJournal> journal;  ///< once there is a wrapper with a prefix
    /// Before it is used. The link is empty for one that was not downloaded. Throws `BuildRefused` for one that the
    /// lock does not allow.
    void useFile(const std::string& path, const std::string& link);

  private:
    void waitForEarly(const std::string& link);

    std::weak_ptr<EarlyDownloads> early_;
};

}  // namespace morvane
