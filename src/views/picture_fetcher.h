// views/picture_fetcher.h: the pictures of a page that a stranger wrote, fetched and decoded beside the main thread.
// Main thread.
//
// All is bounded: how many come at once, the bytes of each and of all, its pixels, and the time for all of them.
#pragma once

#include <QImage>
#include <QObject>
#include <QSize>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/http.h"

class QTimer;

namespace morvane::views {

/// The picture within the bound in pixels; nothing for what is no picture, and for one of too many pixels. Blocks.
[[nodiscard]] std::optional<QImage> decodedStrangersImage(std::string_view bytes, QSize bound);

class PictureFetcher : public QObject {
    Q_OBJECT
  public:
    explicit PictureFetcher(QObject* parent = nullptr);
    ~PictureFetcher() override;

    /// These from now on, and none of those that were on their way. Of http and https only: any other is missing.
    /// `came` follows, or `missing`, once for each, never before this returns.
    void fetch(std::vector<std::string> addresses, QSize bound);
    void stop();
    /// As they came; null before, and for those that are missing.
    [[nodiscard]] std::shared_ptr<const std::string> bytes(std::size_t number) const;

    /// For all of them together.
    void setPatience(std::chrono::milliseconds patience) { patience_ = patience; }

  Q_SIGNALS:
    void came(std::size_t number, const QImage& picture);
    void missing(std::size_t number);

  private:
    struct Download {
        std::string bytes;  ///< the transfer's thread's until it has ended
        std::unique_ptr<http::Transfer> transfer;
    };
    void startNext();
    void start(std::size_t number);
    void ended(std::size_t number);
    void failed(std::size_t number);
    void decodeNext();
    void giveUp();

    std::chrono::milliseconds patience_;
    QTimer* const deadline_;
    std::vector<std::string> addresses_;
    QSize bound_;
    std::deque<std::size_t> waiting_, undecoded_;
    std::map<std::size_t, std::shared_ptr<Download>> downloads_;
    std::vector<std::shared_ptr<const std::string>> bytes_;
    std::shared_ptr<std::atomic<std::uint64_t>> received_;  ///< bytes, of all
    bool isDecoding_ = false;
    unsigned round_ = 0;  ///< calls of `fetch` and `stop`
};

}  // namespace morvane::views
