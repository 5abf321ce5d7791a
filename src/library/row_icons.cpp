#include "library/row_icons.h"

#include <algorithm>
#include <utility>

#include "foundation/threads.h"
#include "library/icon_cache.h"

namespace morvane {

RowIcons::RowIcons(std::function<void(const std::string& key)> changed) : changed_(std::move(changed)) {}

std::string RowIcons::keyOf(const CatalogueLine& line) {
    return std::to_string(line.id);  // no path, which begins with "/"
}

std::shared_ptr<const ImageData> RowIcons::icon(const LocalItem& item) {
    return ask(keyOf(item), true, [path = item.path] { return icon_cache::localIcon(path); });
}

std::shared_ptr<const ImageData> RowIcons::icon(const CatalogueLine& line) {
    return ask(keyOf(line), false, [id = line.id, path = line.path] { return icon_cache::icon(id, path); });
}

std::shared_ptr<const ImageData> RowIcons::ask(const std::string& key, bool isLocal, Fetch fetch) {
    Entry& entry = entries_[key];
    if (entry.isAsked) return entry.image;
    entry.isAsked = true;
    entry.isLocal = isLocal;
    waiting_.push_front({key, std::move(fetch)});
    if (waiting_.size() > mostWaiting) {
        const auto dropped = entries_.find(waiting_.back().key);
        waiting_.pop_back();
        if (dropped != entries_.end()) dropped->second.isAsked = false;
    }
    const auto image = entry.image;
    fetchNext();
    return image;
}

void RowIcons::fetchNext() {
    while (running_ < mostAtOnce && !waiting_.empty()) {
        Request request = std::move(waiting_.front());
        waiting_.pop_front();
        ++running_;
        MVThread::dispatchQueueWithName(
            "app.morvane.loadRowIcon", Priority::low,
            [this, alive = std::weak_ptr(alive_), request = std::move(request)] {
                auto image = request.fetch();
                MVThread::dispatchBlockInMainQueue([this, alive, key = request.key, image] {
                    if (!alive.expired()) take(key, image);
                });
            });
    }
}

void RowIcons::take(const std::string& key, std::optional<ImageData> image) {
    --running_;
    const auto entry = entries_.find(key);
    const bool isSame =
        entry == entries_.end() || (entry->second.image ? image && *image == *entry->second.image : !image);
    if (!isSame) {
        std::erase(kept_, key);
        entry->second.image = image ? std::make_shared<const ImageData>(*std::move(image)) : nullptr;
        if (entry->second.image) kept_.push_back(key);
        if (kept_.size() > mostKept) {
            entries_.erase(kept_.front());
            kept_.pop_front();
        }
    }
    fetchNext();
    if (!isSame && changed_) changed_(key);
}

void RowIcons::refreshLocal() {
    const auto isWaiting = [&](const std::string& key) {
        return std::ranges::find(waiting_, key, &Request::key) != waiting_.end();
    };
    for (auto& [key, entry] : entries_) {
        if (entry.isLocal && !isWaiting(key)) entry.isAsked = false;
    }
}

void RowIcons::refreshCatalogue() {
    std::erase_if(entries_, [&](const auto& entry) {
        return !entry.second.isLocal && !entry.second.image &&
               std::ranges::find(waiting_, entry.first, &Request::key) == waiting_.end();
    });
}

}  // namespace morvane
