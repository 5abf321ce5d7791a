#include "views/picture_fetcher.h"

#include <QTimer>
#include <utility>

#include "foundation/localization.h"
#include "platform/host.h"
#include "platform/pictures.h"
#include "views/background.h"
#include "views/pixmaps.h"

namespace morvane::views {

namespace {

constexpr std::size_t mostAtOnce = 4;
constexpr std::uint64_t longestPicture = std::uint64_t{8} << 20U, longestOfAll = std::uint64_t{48} << 20U;
/// Decoded, such a one takes 128 MB for a moment; one is decoded at a time.
constexpr std::int64_t mostPixels = std::int64_t{1} << 25U;
constexpr std::chrono::seconds longestSilence{20}, usualPatience{90};

}  // namespace

std::optional<QImage> decodedStrangersImage(std::string_view bytes, QSize bound) {
    const auto size = pictures::sizeOf(bytes);
    if (!size || std::int64_t{size->width} * size->height > mostPixels) return std::nullopt;
    return decodedImage(bytes, bound);
}

PictureFetcher::PictureFetcher(QObject* parent)
    : QObject(parent), patience_(usualPatience), deadline_(new QTimer(this)) {
    deadline_->setSingleShot(true);
    connect(deadline_, &QTimer::timeout, this, &PictureFetcher::giveUp);
}

PictureFetcher::~PictureFetcher() = default;

void PictureFetcher::fetch(std::vector<std::string> addresses, QSize bound) {
    stop();
    addresses_ = std::move(addresses);
    bound_ = bound;
    bytes_.assign(addresses_.size(), nullptr);
    received_ = std::make_shared<std::atomic<std::uint64_t>>(0);
    for (std::size_t number = 0; number < addresses_.size(); ++number) waiting_.push_back(number);
    if (waiting_.empty()) return;
    deadline_->start(patience_);
    QTimer::singleShot(0, this, [this, round = round_] {
        if (round == round_) startNext();
    });
}

void PictureFetcher::stop() {
    ++round_;
    deadline_->stop();
    waiting_.clear();
    undecoded_.clear();
    downloads_.clear();
    addresses_.clear();
    bytes_.clear();
    isDecoding_ = false;
}

std::shared_ptr<const std::string> PictureFetcher::bytes(std::size_t number) const {
    return number < bytes_.size() ? bytes_[number] : nullptr;
}

void PictureFetcher::startNext() {
    while (!waiting_.empty() && downloads_.size() < mostAtOnce) {
        const std::size_t number = waiting_.front();
        waiting_.pop_front();
        const unsigned round = round_;
        if (isWebLink(addresses_[number])) {
            start(number);
        } else {
            Q_EMIT missing(number);
        }
        if (round != round_) return;
    }
}

void PictureFetcher::start(std::size_t number) {
    auto download = std::make_shared<Download>();
    downloads_[number] = download;
    // No owner of the transfer: it would end on its own thread.
    http::TransferHandlers handlers;
    handlers.body = [bytes = &download->bytes, received = received_](
                        std::string_view piece, std::optional<std::uint64_t>) -> Result<> {
        const std::uint64_t ofAll = received->fetch_add(piece.size()) + piece.size();
        if (bytes->size() + piece.size() > longestPicture || ofAll > longestOfAll)
            return Failure{.why = localized("The picture is too large.")};
        bytes->append(piece);
        return {};
    };
    handlers.ended = [this, number] { ended(number); };
    handlers.failed = [this, number](const std::string&) { failed(number); };
    download->transfer = std::make_unique<http::Transfer>(
        host().mainQueue, HttpRequest{.url = addresses_[number], .idleTimeout = longestSilence},
        std::move(handlers));
}

void PictureFetcher::ended(std::size_t number) {
    const auto download = downloads_.extract(number).mapped();
    download->transfer.reset();
    bytes_[number] = std::make_shared<const std::string>(std::move(download->bytes));
    undecoded_.push_back(number);
    startNext();
    decodeNext();
}

void PictureFetcher::failed(std::size_t number) {
    downloads_.erase(number);
    startNext();
    Q_EMIT missing(number);
}

void PictureFetcher::decodeNext() {
    if (isDecoding_ || undecoded_.empty()) return;
    isDecoding_ = true;
    const std::size_t number = undecoded_.front();
    undecoded_.pop_front();
    inBackground(
        "app.morvane.decodePicture", this,
        [bytes = bytes_[number], bound = bound_] { return decodedStrangersImage(*bytes, bound); },
        [this, number, round = round_](const std::optional<QImage>& picture) {
            if (round != round_) return;
            isDecoding_ = false;
            decodeNext();
            if (picture) {
                Q_EMIT came(number, *picture);
            } else {
                bytes_[number].reset();
                Q_EMIT missing(number);
            }
        });
}

void PictureFetcher::giveUp() {
    std::vector<std::size_t> late(waiting_.begin(), waiting_.end());
    for (const auto& [number, download] : downloads_) late.push_back(number);
    waiting_.clear();
    downloads_.clear();
    const unsigned round = round_;
    for (const std::size_t number : late) {
        if (round == round_) Q_EMIT missing(number);
    }
}

}  // namespace morvane::views
