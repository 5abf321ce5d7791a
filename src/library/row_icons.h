// library/row_icons.h: the icons of the library's rows, fetched in the background as they are asked for. Main
// thread.
//
// Rows that were asked for last come first. A front end asks for the rows that it draws: who asks for more
// than `mostWaiting` that are still to come loses the oldest requests, and asks again when it draws them.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "library/apps_array.h"
#include "library/catalogue_line.h"
#include "platform/value.h"

namespace morvane {

class RowIcons {
  public:
    static constexpr std::size_t mostWaiting = 200, mostAtOnce = 4, mostKept = 500;

    /// Told when an icon has come, or is another one than before, with its key.
    explicit RowIcons(std::function<void(const std::string& key)> changed);

    [[nodiscard]] static std::string keyOf(const LocalItem& item) { return item.path; }
    [[nodiscard]] static std::string keyOf(const CatalogueLine& line);
    /// The icon as far as it is known; null otherwise, and for what has none. Whatever is asked for is
    /// fetched once; of a port without an icon that is remembered until `refreshCatalogue`.
    [[nodiscard]] std::shared_ptr<const ImageData> icon(const LocalItem& item);
    [[nodiscard]] std::shared_ptr<const ImageData> icon(const CatalogueLine& line);

    /// The icons of local items are read again when they are asked for next, and shown as they are until
    /// then.
    void refreshLocal();
    /// The icons of the catalogue that could not be fetched are asked for again.
    void refreshCatalogue();

  private:
    using Fetch = std::function<std::optional<ImageData>()>;
    struct Entry {
        std::shared_ptr<const ImageData> image;
        bool isLocal = false, isAsked = false;
    };
    struct Request {
        std::string key;
        Fetch fetch;
    };

    std::shared_ptr<const ImageData> ask(const std::string& key, bool isLocal, Fetch fetch);
    void fetchNext();
    void take(const std::string& key, std::optional<ImageData> image);

    std::function<void(const std::string& key)> changed_;
    std::map<std::string, Entry> entries_;
    std::deque<std::string> kept_;  ///< entries with an image, the oldest first
    std::deque<Request> waiting_;   ///< the newest first
    std::size_t running_ = 0;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace morvane
