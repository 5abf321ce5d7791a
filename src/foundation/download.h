// foundation/download.h: one blocking download into memory, with progress and the questions around it.
//
// `downloadFile` blocks and is called on a worker thread; events, timer and questions run on the main thread.
// On the thread of the running creation, a cancellation throws `Cancelled`. One instance runs one transfer at
// a time.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "foundation/progress_view.h"
#include "platform/annotations.h"
#include "platform/http.h"
#include "platform/main_queue.h"

namespace morvane {

enum class Silence { no, yes };

class Download {
  public:
    /// How often a silent download of a failed or short transfer starts again before it gives up: with a file
    /// server that is really broken, more tries only keep the user waiting. Then nothing is written and the
    /// result is true.
    static constexpr int silentRetries = 3;

    explicit Download(std::shared_ptr<NSProgressView> progressWindow);
    virtual ~Download();
    Download(const Download&) = delete;
    Download& operator=(const Download&) = delete;

    /// `downloadFile:to:inSilence:`. False when it was called off before any transfer; true does not promise
    /// a file.
    bool downloadFile(const std::string& url, const std::string& path, Silence silence);
    /// `shouldCancelDownloadOfFile:to:inSilence:`. Asks the user where it has to; true to call the download
    /// off.
    [[nodiscard]] bool shouldCancelDownloadOfFile(const std::string& url, const std::string& path,
                                                  Silence silence);
    /// `finishDownload`. Any thread: ends the transfer in progress, if any, and wakes its caller.
    void finishDownload();
    /// `timerFireMethod:`. Main thread: one tick of the one-second timer.
    void timerFireMethod();
    /// Whether a transfer is in progress.
    [[nodiscard]] bool isDownloading() const;

    const std::shared_ptr<NSProgressView> progressWindow;

  private:
    // The rest of the state is declared by the implementation of this class.
    struct Transfer;
    std::shared_ptr<Transfer> transfer_;
    mutable Mutex mutex_;
};

}  // namespace morvane
