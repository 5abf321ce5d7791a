// library/item_states.h: what becomes of the library's items while they are shown: gone from their places, half
// made, running. Main thread.
//
// The disk and the list of processes are looked at in the background, where somebody asks for it: nothing is
// watched.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace morvane {

struct ItemState {
    bool isMissing = false;     ///< nothing lies at its path any more
    bool isUnfinished = false;  ///< a wrapper whose making was cut short: it has no prefix
    bool isRunning = false;
    bool operator==(const ItemState&) const = default;
};

class ItemStates {
  public:
    /// Told when the state of an item has changed, with its path.
    explicit ItemStates(std::function<void(const std::string& path)> changed);
    ~ItemStates();
    ItemStates(const ItemStates&) = delete;
    ItemStates& operator=(const ItemStates&) = delete;

    /// As far as it is known.
    [[nodiscard]] ItemState of(const std::string& path) const;
    /// The item runs for as long as what is given is kept, by any thread.
    [[nodiscard]] std::shared_ptr<void> runs(const std::string& path);
    /// Looks in the background. While a look goes on, the next one waits for it, and several become one.
    void look(std::vector<std::string> paths);

  private:
    using States = std::map<std::string, ItemState>;
    void take(const States& seen, const std::set<std::string>& runningThen);
    void lookNow(std::vector<std::string> paths);
    void ended(const std::string& path);

    std::function<void(const std::string& path)> changed_;
    States seen_;
    std::multiset<std::string> running_;  ///< what was started here
    bool isLooking_ = false;
    std::unique_ptr<std::vector<std::string>> next_;
    std::shared_ptr<ItemStates*> self_;  ///< holds nothing once the object is gone
};

}  // namespace morvane
