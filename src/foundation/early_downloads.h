// foundation/early_downloads.h: what a build will need, fetched into the cache of parts while it does other things.
//
// Nothing is asked and nothing is told here: what fails, and what a server gives without a mark by which it is known
// again, is left to the download that wants it, and so is every question about it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/annotations.h"
#include "platform/cancellation.h"

namespace morvane {

class EarlyDownloads {
  public:
    /// So many transfers run at once; the largest files come first.
    static constexpr std::size_t atOnce = 4;
    /// So many ticks without a byte, and a transfer that is waited for is ended.
    static constexpr int patience = 5;

    /// Of all files that are not left to others; a length that is not known yet counts as what has come.
    struct Sum {
        std::uint64_t done = 0, whole = 0;  ///< bytes
        std::uint64_t arrived = 0;          ///< of them now, and not in an earlier transfer
    };

    /// Starts at once, on threads of its own. Each link counts once.
    explicit EarlyDownloads(const std::vector<std::string>& links,
                            std::chrono::milliseconds tick = std::chrono::seconds(1));
    /// Any thread: ends what runs, and joins. What has arrived stays for the next transfer.
    ~EarlyDownloads();
    EarlyDownloads(const EarlyDownloads&) = delete;
    EarlyDownloads& operator=(const EarlyDownloads&) = delete;

    /// Blocks until nobody here fetches the link (at once for one that has not begun: it is the caller's then), with
    /// `told` called here at each tick; what that throws reaches the caller. On the creation's thread a cancellation
    /// throws `Cancelled`.
    void waitFor(const std::string& link, const std::function<void(const Sum& sum)>& told);
    /// Nobody needs what has arrived: for a caller that waits for no link any more.
    void forget();

  private:
    struct Item;

    void work();
    void learnSizes();
    Item* nextToAsk();
    /// 0 for a length that is not told; nothing for a link that is left to others.
    static std::optional<std::uint64_t> sizeOf(Item& item);
    Item* nextToFetch();
    /// True when there is something of the link to go on with.
    bool fetch(Item& item);
    Item* claimed(const std::string& link);
    [[nodiscard]] Sum sum() const MV_REQUIRES(mutex_);
    void stop();

    const std::chrono::milliseconds tick_;
    mutable Mutex mutex_;
    Condition changed_;
    std::list<Item> items_ MV_GUARDED_BY(mutex_);  // the items themselves stay where they are
    std::size_t sizesAsked_ MV_GUARDED_BY(mutex_) = 0;
    std::size_t sizesLeft_ MV_GUARDED_BY(mutex_) = 0;
    bool stopped_ MV_GUARDED_BY(mutex_) = false;
    std::vector<std::thread> threads_;
};

}  // namespace morvane
