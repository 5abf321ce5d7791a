// foundation/download.h: one blocking download into a file, with progress and the questions around it.
//
// `downloadFile` blocks and is called on a worker thread; events, timer and questions run on the main thread.
// On the thread of the running creation, a cancellation throws `Cancelled`. One instance runs one transfer at
// a time.
//
// What arrives is collected in the cache of parts (`platform/download_parts.h`) and put at the destination at the
// end, so that a kill at any moment leaves the old file or the new one. A transfer goes on where an earlier one for
// the same link has stopped, in whatever process that was. No more is taken than the disk has room for. An error page
// (a status of 400 and more) counts as nothing received.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "foundation/progress_view.h"
#include "platform/annotations.h"
#include "platform/download_parts.h"

namespace morvane {

enum class Silence { no, yes };

/// The folder of the cache of parts.
[[nodiscard]] std::string partsFolder();
/// What a running transfer shows below its bar: "2 MB of 10 MB (1 MB/s) - 8 seconds". Bytes, and bytes a second.
[[nodiscard]] std::string lineOfTransfer(std::uint64_t done, std::uint64_t whole, std::uint64_t lastSecond,
                                         std::uint64_t average);

class Download {
  public:
    /// How often a silent download of a failed or short transfer starts again before it gives up: with a file
    /// server that is really broken, more tries only keep the user waiting. Then nothing is written and the
    /// result is true.
    static constexpr int silentRetries = 3;

    using Keep = DownloadPart::Keep;
    /// `keep`: whether whole files stay in the cache of parts until `forgetParts`, so that whoever comes for them
    /// again has them at once if the server still has the same.
    explicit Download(std::shared_ptr<NSProgressView> progressWindow, Keep keep = Keep::no);
    virtual ~Download();
    Download(const Download&) = delete;
    Download& operator=(const Download&) = delete;

    /// False when it was called off before any transfer (also by the end of the application); true does not
    /// promise a file. A full disk is told, and leaves nothing. `query` is what the request adds to the address
    /// only to get past caches on the way.
    bool downloadFile(const std::string& url, const std::string& path, Silence silence,
                      const std::string& query = "");
    /// What this download has kept is not needed any more.
    void forgetParts();
    /// Asks the user where it has to; true to call the download off.
    [[nodiscard]] bool shouldCancelDownloadOfFile(const std::string& url, const std::string& path,
                                                  Silence silence);
    /// Any thread: ends the transfer in progress, if any, and wakes its caller, which goes on with what has
    /// arrived.
    void finishDownload();
    /// Main thread: one tick of the one-second timer. May ask for an updated link; the caller of the transfer
    /// then starts again with that link. What asking throws reaches that caller.
    void timerFireMethod();
    /// Whether a transfer is in progress.
    [[nodiscard]] bool isDownloading() const;

    const std::shared_ptr<NSProgressView> progressWindow;

  private:
    class Transfer;
    /// What a transfer left behind.
    struct Received {
        explicit Received(DownloadPart body) : part(std::move(body)) {}

        DownloadPart part;
        std::uint64_t size = 0;     ///< of the body, with what was there before
        std::uint64_t arrived = 0;  ///< in this transfer
        std::optional<std::string> error;
        std::uint64_t fullSize = 0;
        std::optional<std::string> updatedLink;  ///< the user's answer to the question of a stalled transfer
        std::exception_ptr thrown;               ///< by a question on the main thread

        /// Something has arrived, without an error, and not less than was announced.
        [[nodiscard]] bool isWhole() const;
    };

    /// Blocks until the transfer has ended; nothing when the application ends first.
    std::optional<Received> receive(const std::string& url, const std::string& query, Silence silence);
    /// One transfer of what `receive` needs; the part is handed on.
    std::optional<Received> transferred(const std::string& address, DownloadPart part, Silence silence);
    /// The address to start again with, or nothing when the download is done.
    std::optional<std::string> saveDownloadedFile(Received& received, const std::string& url,
                                                  const std::string& path, Silence silence);
    void setCurrent(std::shared_ptr<Transfer> transfer);
    [[nodiscard]] std::shared_ptr<Transfer> current() const;

    const Keep keep_;
    std::set<std::string> kept_;  ///< the links of what is kept; the caller's thread
    mutable Mutex mutex_;
    std::shared_ptr<Transfer> transfer_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane
