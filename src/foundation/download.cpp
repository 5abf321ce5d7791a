#include "foundation/download.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/build_log.h"
#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "platform/main_queue.h"

namespace morvane {

namespace {

constexpr const char* product = "Morvane";
/// The stall question comes when the count of ticks without a byte, which starts at 1, is a multiple of this.
constexpr int ticksToAQuestion = 11;

using Clock = std::chrono::steady_clock;

bool asks(std::string_view question, const char* title, bool defaultAnswer) {
    return MVAlert::showBooleanAlertMessage(localized(question), title, defaultAnswer);
}

bool asksAboutFile(std::string_view question, const std::string& path) {
    return MVAlert::showBooleanAlertMessage(localized(question, {files::lastComponent(path)}), "Warning",
                                            true);
}

/// What the user types is a link as it stands; an empty one meets the rules for invalid links.
std::string askedLink() {
    return MVAlert::inputDialogWithMessage(localized("Inform the updated link:"), "").value_or("");
}

std::string readableSize(std::uint64_t bytes) {
    return NSUtilities::humanReadableSizeForBytes(static_cast<std::int64_t>(bytes), DecimalMeasureSystem::no);
}

/// True to call the download off. Asks until the place is free, or the user takes what lies there.
bool shouldCancelForExistingFile(const std::string& path, Silence silence) {
    while (MVFileManager::regularFileExistsAtPath(path)) {
        if (silence == Silence::yes) {
            // A file that cannot be removed would be in the way for ever.
            if (!files::remove(path)) return true;
            continue;
        }
        if (asksAboutFile("There is already a file called \"%@\" in the specified folder. "
                          "Do you want to use it instead?",
                          path)) {
            return true;
        }
        if (asks("Do you want to override it?", "Warning", false)) {
            MVFileManager::removeItemAtPath(path);
        } else {
            MVAlert::showAlertMessage(localized("Move that file to a different folder and then press Ok."),
                                      "Warning");
        }
    }
    return false;
}

bool shouldCancelWhenUnreachable(const std::string& path, Silence silence) {
    const bool exists = MVFileManager::regularFileExistsAtPath(path);
    if (silence == Silence::yes) return !exists;
    if (exists) {
        return !asksAboutFile(
            "You aren't connected to the internet, but there is already a file called \"%@\" in "
            "the specified folder. Do you want to use it instead?",
            path);
    }
    MVAlert::showAlertErrorMessage(localized("The website seems to be offline."));
    return true;
}

bool shouldCancelForInvalidLink(const std::string& path, Silence silence) {
    const bool exists = MVFileManager::regularFileExistsAtPath(path);
    if (silence == Silence::yes) return !exists;
    if (exists) {
        return !asksAboutFile(
            "The link seems to be invalid, but there is already a file called \"%@\" in the "
            "specified folder. Do you want to use it instead?",
            path);
    }
    MVAlert::showAlertMessage(localized("The download link seems to be invalid."), "Error");
    return true;
}

}  // namespace

std::string partsFolder() {
    return files::join(host().folders.temporary, "Downloads");
}

std::string lineOfTransfer(std::uint64_t done, std::uint64_t whole, std::uint64_t lastSecond,
                           std::uint64_t average) {
    return localized("%@ of %@ (%@/s) - %@",
                     {readableSize(done), readableSize(whole), readableSize(lastSecond),
                      NSUtilities::timeNeededToDownload(static_cast<std::int64_t>(whole - done),
                                                        static_cast<std::int64_t>(average))});
}

/// One transfer. Its events and ticks come on the main thread and alone touch what it has received, but for the
/// file, which the connection's thread fills; from `stop` on all of it belongs to the waiting caller. The mutex
/// guards the hand-over, and is never held while something is posted to the main queue.
class Download::Transfer : public std::enable_shared_from_this<Transfer> {
  public:
    Transfer(DownloadPart part, std::shared_ptr<NSProgressView> progressWindow, Silence silence)
        : received(std::move(part)),
          progressWindow_(std::move(progressWindow)),
          silent_(silence == Silence::yes) {}

    /// Main thread.
    void start(const std::string& url);
    /// The main thread, or any once the main queue is closed. Also ends the transfer when nothing else did.
    void stop();
    /// Any thread: true when the transfer has ended, false when the wait was broken off.
    bool wait();
    /// Any thread: breaks the wait off.
    void release();
    /// Any thread.
    void finish();
    [[nodiscard]] bool isFinished();
    /// Main thread.
    void tick();

    Received received;

  private:
    /// Breaks the wait off when the main queue drops it: a closed queue brings no event any more.
    struct Releaser {
        explicit Releaser(std::weak_ptr<Transfer> waited) : transfer(std::move(waited)) {}
        Releaser(const Releaser&) = delete;
        Releaser& operator=(const Releaser&) = delete;
        const std::weak_ptr<Transfer> transfer;
        ~Releaser() {
            if (const auto held = transfer.lock()) held->release();
        }
    };

    void startChronometer();
    /// On the connection's thread.
    Result<> begin(const HttpHead& head);
    Result<> take(std::string_view chunk);
    void didReceiveResponse();
    void didReceiveData(std::uint64_t bytes);
    void didFailWithError(const std::string& description);
    void didFinishLoading();
    /// Does the work on the main thread. What it throws ends the transfer and is the caller's: nothing goes
    /// through the event loop.
    void guarded(const std::function<void()>& work);
    void updateUI();
    void askForUpdatedLink();
    [[nodiscard]] bool isEnding();
    void setAsking(bool asking);

    const std::shared_ptr<NSProgressView> progressWindow_;
    const bool silent_;

    std::unique_ptr<http::Transfer> connection_;
    std::uint64_t percentage_ = 0;
    std::uint64_t downloadedAtSecond_ = 0;
    Clock::time_point downloadStartMoment_;
    int errorTimer_ = 1;
    std::atomic<bool> hadEmptyChunk_ = false;
    /// What the connection's thread has found out: what is there before the first byte, and the whole.
    std::atomic<std::uint64_t> sizeBefore_ = 0, sizeOfWhole_ = 0;

    Mutex mutex_;
    Condition changed_;
    std::optional<MainQueue::TimerId> monitorTimer_ MV_GUARDED_BY(mutex_);
    std::optional<MainQueue::TimerId> releaserTimer_ MV_GUARDED_BY(mutex_);
    bool ending_ MV_GUARDED_BY(mutex_) = false;
    bool finished_ MV_GUARDED_BY(mutex_) = false;
    bool released_ MV_GUARDED_BY(mutex_) = false;
    /// The user is asked for another link: the caller waits for the answer, unless the whole file arrives
    /// meanwhile.
    bool asking_ MV_GUARDED_BY(mutex_) = false;
};

void Download::Transfer::start(const std::string& url) {
    if (isEnding()) return;
    downloadStartMoment_ = Clock::now();
    // A timer with nothing to do: what counts is that the queue destroys it when it is closed.
    auto releaser = std::make_shared<Releaser>(weak_from_this());
    const auto releaserTimer = host().mainQueue.every(std::chrono::hours(1), [releaser] {});
    releaser.reset();
    {
        MutexLock lock(mutex_);
        releaserTimer_ = releaserTimer;
    }
    if (!silent_) startChronometer();

    HttpRequest request;
    request.url = url;
    request.headers = received.part.requestHeaders();
    http::TransferHandlers handlers;
    const auto self = shared_from_this();
    handlers.head = [self](const HttpHead& head) { return self->begin(head); };
    handlers.response = [self](std::optional<std::uint64_t>) { self->didReceiveResponse(); };
    handlers.body = [self](std::string_view chunk, std::optional<std::uint64_t>) {
        return self->take(chunk);
    };
    handlers.data = [self](std::uint64_t bytes) { self->guarded([&] { self->didReceiveData(bytes); }); };
    handlers.failed = [self](const std::string& description) {
        self->guarded([&] { self->didFailWithError(description); });
    };
    handlers.ended = [self] { self->guarded([&] { self->didFinishLoading(); }); };
    connection_ = std::make_unique<http::Transfer>(host().mainQueue, request, std::move(handlers));
}

void Download::Transfer::startChronometer() {
    errorTimer_ = 1;
    const auto timer = host().mainQueue.every(std::chrono::seconds(1), [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->tick();
    });
    MutexLock lock(mutex_);
    monitorTimer_ = timer;
}

void Download::Transfer::stop() {
    finish();
    connection_.reset();
    received.size = received.part.size();
    received.arrived = received.size - std::min(received.size, sizeBefore_.load());
    std::optional<MainQueue::TimerId> monitor, releaser;
    {
        MutexLock lock(mutex_);
        monitor = monitorTimer_;
        releaser = releaserTimer_;
    }
    for (const auto& timer : {monitor, releaser}) {
        if (timer) host().mainQueue.cancelTimer(*timer);
    }
}

bool Download::Transfer::wait() {
    MutexLock lock(mutex_);
    while (!released_ && (!finished_ || asking_)) changed_.wait(mutex_);
    return !released_;
}

void Download::Transfer::release() {
    MutexLock lock(mutex_);
    released_ = true;
    changed_.notify_all();
}

void Download::Transfer::finish() {
    std::optional<MainQueue::TimerId> timer;
    {
        MutexLock lock(mutex_);
        if (ending_) return;
        ending_ = true;
        timer = monitorTimer_;
    }
    // Before the caller is woken: it may start the next transfer, whose display comes after this one's.
    if (!silent_) {
        progressWindow_->setIndeterminate(true);
        progressWindow_->setSubtitle("", CreatingPort::yes);
        if (timer) host().mainQueue.cancelTimer(*timer);
    }
    MutexLock lock(mutex_);
    finished_ = true;
    changed_.notify_all();
}

bool Download::Transfer::isEnding() {
    MutexLock lock(mutex_);
    return ending_;
}

bool Download::Transfer::isFinished() {
    MutexLock lock(mutex_);
    return finished_;
}

void Download::Transfer::setAsking(bool asking) {
    MutexLock lock(mutex_);
    asking_ = asking;
    changed_.notify_all();
}

void Download::Transfer::guarded(const std::function<void()>& work) {
    try {
        work();
    } catch (...) {
        received.thrown = std::current_exception();
        setAsking(false);
        finish();
    }
}

Result<> Download::Transfer::begin(const HttpHead& head) {
    auto begun = received.part.begin(head);
    sizeBefore_ = received.part.size();
    sizeOfWhole_ = received.part.wholeSize().value_or(0);
    return begun;
}

Result<> Download::Transfer::take(std::string_view chunk) {
    if (chunk.empty()) {
        hadEmptyChunk_ = true;
        return Failure{"", localized("An unknown error happened during the download.")};
    }
    return received.part.append(chunk);
}

void Download::Transfer::didReceiveResponse() {
    if (isEnding()) return;
    received.size = sizeBefore_;
    received.fullSize = sizeOfWhole_;
}

void Download::Transfer::didReceiveData(std::uint64_t bytes) {
    if (isEnding()) return;
    received.size += bytes;
    received.arrived += bytes;
    if (silent_) return;
    downloadedAtSecond_ += bytes;
    if (received.fullSize == 0) return;
    const std::uint64_t progress = received.size * 1000 / received.fullSize;
    if (progress == percentage_) return;
    percentage_ = progress;
    progressWindow_->setCurrentValue(static_cast<int>(std::min<std::uint64_t>(progress, 1000)));
}

void Download::Transfer::didFailWithError(const std::string& description) {
    if (isEnding()) return;
    if (hadEmptyChunk_) {
        MVAlert::showAlertErrorMessage(description);
    } else {
        received.error = description;
    }
    finish();
}

void Download::Transfer::didFinishLoading() {
    if (isEnding()) return;
    if (received.isWhole()) setAsking(false);
    finish();
}

void Download::Transfer::tick() {
    if (silent_ || isEnding()) return;
    guarded([this] {
        updateUI();
        errorTimer_ = received.arrived == 0 ? errorTimer_ + 1 : 1;
        downloadedAtSecond_ = 0;
        if (errorTimer_ % ticksToAQuestion == 0) askForUpdatedLink();
    });
}

void Download::Transfer::updateUI() {
    const std::uint64_t done = received.size;
    std::string subtitle;
    if (received.fullSize == 0) {
        subtitle = localized("%@ (%@/s)", {readableSize(done), readableSize(downloadedAtSecond_)});
    } else if (received.fullSize != done) {
        const double elapsed = std::chrono::duration<double>(Clock::now() - downloadStartMoment_).count();
        const auto average =
            elapsed > 0 ? static_cast<std::uint64_t>(static_cast<double>(received.arrived) / elapsed) : 0;
        subtitle = lineOfTransfer(done, received.fullSize, downloadedAtSecond_, average);
    } else {
        return;
    }
    progressWindow_->setSubtitle(subtitle, CreatingPort::yes);
}

void Download::Transfer::askForUpdatedLink() {
    // The dialogs below let other events through: a transfer that fails meanwhile must not ask a second
    // question on top of this one, and the answer must not come too late.
    setAsking(true);
    const bool wanted =
        MVAlert::showBooleanAlertMessage(localized("The informed file seems not to be available. %@ may "
                                                   "force the download. Do you want to inform an "
                                                   "updated link?",
                                                   {product}),
                                         "Error", true);
    if (wanted) {
        const std::string link = askedLink();
        MutexLock lock(mutex_);
        // Without a caller that waits for the answer, the received data is not ours any more.
        if (asking_ && !released_) received.updatedLink = link;
    }
    if (wanted) finish();
    setAsking(false);
}

Download::Download(std::shared_ptr<NSProgressView> window, Keep keep)
    : progressWindow(std::move(window)), keep_(keep) {}

Download::~Download() = default;

bool Download::Received::isWhole() const {
    return size > 0 && !error && size >= fullSize;
}

bool Download::downloadFile(const std::string& url, const std::string& path, Silence silence,
                            const std::string& query) {
    std::string link = url, added = query;
    for (int retries = 0; silence == Silence::no || retries <= silentRetries; ++retries) {
        if (shouldCancelDownloadOfFile(link, path, silence)) return false;
        // Only a file that is to be used instead still lies there. The address can't be reached, or is none:
        // nothing is asked about it any more, and a transfer that got through after all (by a proxy) would
        // replace what the user chose.
        if (MVFileManager::regularFileExistsAtPath(path)) return true;
        if (silence == Silence::no) progressWindow->setCurrentValue(0);
        std::optional<Received> received = receive(link, added, silence);
        if (!received) return false;
        // A stalled transfer with a new link is not saved: what the new link gives is the outcome.
        const std::optional<std::string> next = received->updatedLink
                                                    ? received->updatedLink
                                                    : saveDownloadedFile(*received, link, path, silence);
        if (!next) return true;
        if (*next != link) added.clear();
        link = *next;
    }
    return true;
}

bool Download::shouldCancelDownloadOfFile(const std::string& url, const std::string& path, Silence silence) {
    const std::optional<UrlParts> parts = parseUrl(url);
    if (!parts) return shouldCancelForInvalidLink(path, silence);
    if (!NSUtilities::isWebsiteAvailable(parts->host)) return shouldCancelWhenUnreachable(path, silence);
    return shouldCancelForExistingFile(path, silence);
}

std::optional<Download::Received> Download::receive(const std::string& url, const std::string& query,
                                                    Silence silence) {
    // Whoever wants a file a second time could not use the first one.
    if (kept_.erase(url) > 0) download_parts::forget(partsFolder(), url);
    for (;;) {
        auto received = transferred(url + query, DownloadPart(partsFolder(), url), silence);
        if (!received || !received->part.mustStartAnew()) return received;
        received->part.startAnew();
    }
}

std::optional<Download::Received> Download::transferred(const std::string& address, DownloadPart part,
                                                        Silence silence) {
    host().creation.throwIfRequested();
    const auto transfer = std::make_shared<Transfer>(std::move(part), progressWindow, silence);
    setCurrent(transfer);
    bool ended = false;
    {
        std::optional<Cancellation::Interrupter> interrupter;
        if (host().creation.runsHere()) {
            interrupter.emplace(host().creation, [transfer] { transfer->release(); });
        }
        ended = host().mainQueue.callAndWait([&] { transfer->start(address); }) && transfer->wait();
    }
    if (!host().mainQueue.callAndWait([&] { transfer->stop(); })) transfer->stop();
    setCurrent(nullptr);
    host().creation.throwIfRequested();
    const Received& received = transfer->received;
    const bool whole = received.isWhole();
    const std::string failure = whole ? "" : received.error.value_or("not whole");
    if (const auto build = BuildLog::current()) build->download(address, received.size, failure);
    host().log.write(whole ? Log::Level::info : Log::Level::warning,
                     "download: " + address + ": " + std::to_string(received.size) + " bytes, " +
                         std::to_string(received.arrived) + " of them now" + (whole ? "" : ", " + failure));
    if (received.thrown) std::rethrow_exception(received.thrown);
    if (!ended) return std::nullopt;
    return std::move(transfer->received);
}

std::optional<std::string> Download::saveDownloadedFile(Received& received, const std::string& url,
                                                        const std::string& path, Silence silence) {
    const auto reportUnwritten = [silence](const std::string& description) -> std::optional<std::string> {
        if (silence == Silence::no) {
            MVAlert::showAlertErrorMessage(localized("Error while writting file: %@", {description}));
        }
        return std::nullopt;
    };
    // A full disk is no matter of the link's, or of another try.
    if (const auto& written = received.part.soFar(); !written) return reportUnwritten(written.error().why);
    if (received.arrived == 0 && !received.isWhole()) {
        if (silence == Silence::yes) return std::nullopt;
        if (!asks("The informed file isn't available. Do you want to inform an updated link?", "Error",
                  true)) {
            return std::nullopt;
        }
        return askedLink();
    }
    if (!received.isWhole()) {
        if (silence == Silence::yes) return url;
        const std::string reason =
            received.error.value_or(localized("The download seems to have been corrupted"));
        if (MVAlert::showBooleanAlertMessage(localized("%@. Do you want to try again?", {reason}), "Error",
                                             true)) {
            return url;
        }
    }
    const auto placed = received.part.putAt(path, keep_);
    if (placed && keep_ == Keep::untilForgotten) kept_.insert(url);
    return placed ? std::nullopt : reportUnwritten(placed.error().why);
}

void Download::forgetParts() {
    for (const std::string& link : std::exchange(kept_, {})) download_parts::forget(partsFolder(), link);
}

void Download::finishDownload() {
    if (const auto transfer = current()) transfer->finish();
}

void Download::timerFireMethod() {
    if (const auto transfer = current()) transfer->tick();
}

bool Download::isDownloading() const {
    const auto transfer = current();
    return transfer && !transfer->isFinished();
}

void Download::setCurrent(std::shared_ptr<Transfer> transfer) {
    MutexLock lock(mutex_);
    transfer_ = std::move(transfer);
}

std::shared_ptr<Download::Transfer> Download::current() const {
    MutexLock lock(mutex_);
    return transfer_;
}

}  // namespace morvane
