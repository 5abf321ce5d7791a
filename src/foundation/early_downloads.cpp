#include "foundation/early_downloads.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>

#include "foundation/download.h"
#include "foundation/network.h"
#include "platform/download_parts.h"
#include "platform/host.h"
#include "platform/http.h"

namespace morvane {

namespace {

/// A server that tells no size for so long has its file fetched without.
constexpr std::chrono::seconds longestHead{5};

}  // namespace

/// One link. Its state and its numbers are guarded by the mutex of all; its cancellation ends its transfer.
struct EarlyDownloads::Item {
    enum class State { waiting, fetching, ended, leftToOthers };

    explicit Item(std::string itsLink) : link(std::move(itsLink)) {}

    const std::string link;
    Cancellation cancellation;
    State state = State::waiting;
    std::uint64_t whole = 0, done = 0, arrived = 0;  // bytes; 0 for a length that is not known
};

EarlyDownloads::EarlyDownloads(const std::vector<std::string>& links, std::chrono::milliseconds tick)
    : tick_(tick) {
    std::set<std::string> known;
    std::size_t threads = 0;
    {
        MutexLock lock(mutex_);
        for (const std::string& link : links) {
            if (isFetchableLink(link) && known.insert(link).second) items_.emplace_back(link);
        }
        sizesLeft_ = items_.size();
        threads = std::min(atOnce, items_.size());
    }
    for (std::size_t number = 0; number < threads; ++number) threads_.emplace_back([this] { work(); });
}

EarlyDownloads::~EarlyDownloads() {
    stop();
    for (std::thread& thread : threads_) thread.join();
}

void EarlyDownloads::stop() {
    MutexLock lock(mutex_);
    stopped_ = true;
    for (Item& item : items_) item.cancellation.shutDown();
    changed_.notify_all();
}

void EarlyDownloads::work() {
    learnSizes();
    while (Item* item = nextToFetch()) {
        const bool isThere = fetch(*item);
        MutexLock lock(mutex_);
        item->state = isThere ? Item::State::ended : Item::State::leftToOthers;
        changed_.notify_all();
    }
}

/// With the others: each asks for the size that nobody has asked for yet, until all are known.
void EarlyDownloads::learnSizes() {
    while (Item* item = nextToAsk()) {
        const auto size = sizeOf(*item);
        MutexLock lock(mutex_);
        if (size) item->whole = *size;
        if (!size) item->state = Item::State::leftToOthers;
        if (--sizesLeft_ == 0) changed_.notify_all();
    }
    MutexLock lock(mutex_);
    while (!stopped_ && sizesLeft_ != 0) changed_.wait(mutex_);
}

EarlyDownloads::Item* EarlyDownloads::nextToAsk() {
    MutexLock lock(mutex_);
    if (stopped_ || sizesAsked_ == items_.size()) return nullptr;
    return &*std::next(items_.begin(), static_cast<std::ptrdiff_t>(sizesAsked_++));
}

std::optional<std::uint64_t> EarlyDownloads::sizeOf(Item& item) {
    if (!NSUtilities::isWebsiteOfUrlAvailable(item.link) || !item.cancellation.begin()) return std::nullopt;
    const HttpRequest request{.url = item.link, .idleTimeout = longestHead, .headOnly = true};
    std::optional<std::uint64_t> size;
    try {
        size = http::fetch(request, &item.cancellation).announcedLength.value_or(0);
    } catch (const Cancelled&) {
        // Nobody waits for it any more.
    }
    item.cancellation.end();
    return size;
}

EarlyDownloads::Item* EarlyDownloads::nextToFetch() {
    MutexLock lock(mutex_);
    Item* next = nullptr;
    if (stopped_) return next;
    for (Item& item : items_) {
        const bool isNext =
            item.state == Item::State::waiting && (next == nullptr || item.whole > next->whole);
        if (isNext) next = &item;
    }
    if (next != nullptr) next->state = Item::State::fetching;
    return next;
}

bool EarlyDownloads::fetch(Item& item) {
    if (!item.cancellation.begin()) return false;
    DownloadPart part(partsFolder(), item.link);
    HttpRequest request;
    request.url = item.link;
    request.headers = part.requestHeaders();
    const auto begin = [&](const HttpHead& head) -> Result<> {
        if (auto begun = part.begin(head); !begun) return begun;
        // Whoever comes for it would have to fetch it anew.
        if (!part.isKnownAgain()) return Failure{item.link, "The server gives it no mark."};
        MutexLock lock(mutex_);
        item.done = part.size();
        item.whole = part.wholeSize().value_or(item.whole);
        return {};
    };
    const auto take = [&](std::string_view bytes) {
        {
            MutexLock lock(mutex_);
            item.done += bytes.size();
            item.arrived += bytes.size();
        }
        return part.append(bytes);
    };
    const std::string error = http::receive(request, begin, take, item.cancellation);
    item.cancellation.end();
    host().log.write(Log::Level::info, "early download: " + item.link + ": " + std::to_string(part.size()) +
                                           " bytes" + (error.empty() ? "" : ", " + error));
    return part.size() > 0 && part.soFar() && !part.mustStartAnew();
}

EarlyDownloads::Sum EarlyDownloads::sum() const {
    Sum sum;
    for (const Item& item : items_) {
        if (item.state == Item::State::leftToOthers) continue;
        sum.done += item.done;
        sum.whole += std::max(item.whole, item.done);
        sum.arrived += item.arrived;
    }
    return sum;
}

void EarlyDownloads::waitFor(const std::string& link, const std::function<void(const Sum& sum)>& told) {
    const Cancellation::Interrupter wake(host().creation, [this] {
        MutexLock lock(mutex_);
        changed_.notify_all();
    });
    Item* item = claimed(link);
    if (item == nullptr) return;
    std::uint64_t before = 0;
    int ticksWithoutByte = 0;
    for (;;) {
        const auto nextTick = std::chrono::steady_clock::now() + tick_;
        std::uint64_t done = 0;
        Sum now;
        {
            MutexLock lock(mutex_);
            if (item->state == Item::State::fetching && !host().creation.requested())
                changed_.wait_until(mutex_, nextTick);
            if (item->state != Item::State::fetching) return;
            done = item->done;
            now = sum();
        }
        host().creation.throwIfRequested();
        if (std::chrono::steady_clock::now() < nextTick) continue;
        told(now);
        ticksWithoutByte = done == before ? ticksWithoutByte + 1 : 0;
        before = done;
        if (ticksWithoutByte == patience) item->cancellation.shutDown();
    }
}

/// The link's item when it is being fetched; one that waits is the caller's from now on.
EarlyDownloads::Item* EarlyDownloads::claimed(const std::string& link) {
    MutexLock lock(mutex_);
    const auto item = std::ranges::find(items_, link, &Item::link);
    if (item == items_.end()) return nullptr;
    if (item->state == Item::State::waiting) item->state = Item::State::leftToOthers;
    return item->state == Item::State::fetching ? &*item : nullptr;
}

void EarlyDownloads::forget() {
    stop();
    for (std::thread& thread : threads_) thread.join();
    threads_.clear();
    MutexLock lock(mutex_);
    for (const Item& item : items_) download_parts::forget(partsFolder(), item.link);
}

}  // namespace morvane
