#include "library/item_states.h"

#include <utility>

#include "foundation/threads.h"
#include "library/game_data.h"
#include "library/local_items.h"
#include "platform/files.h"
#include "wrapper/processes.h"
#include "wrapper/wrapper.h"

namespace morvane {

ItemStates::ItemStates(std::function<void(const std::string& path)> changed)
    : changed_(std::move(changed)), self_(std::make_shared<ItemStates*>(this)) {}

ItemStates::~ItemStates() {
    *self_ = nullptr;
}

ItemState ItemStates::of(const std::string& path) const {
    const auto found = seen_.find(path);
    ItemState state = found == seen_.end() ? ItemState() : found->second;
    state.isRunning = state.isRunning || running_.contains(path);
    return state;
}

std::shared_ptr<void> ItemStates::runs(const std::string& path) {
    const ItemState before = of(path);
    running_.insert(path);
    if (before != of(path)) changed_(path);
    // The last one that keeps it may be a worker.
    return {nullptr, [self = self_, path](void*) {
                MVThread::dispatchBlockInMainQueue([self, path] {
                    if (*self != nullptr) (*self)->ended(path);
                });
            }};
}

void ItemStates::ended(const std::string& path) {
    const ItemState before = of(path);
    if (const auto one = running_.find(path); one != running_.end()) running_.erase(one);
    // A look in the meantime has seen the run that has ended now.
    if (const auto found = seen_.find(path); found != seen_.end()) found->second.isRunning = false;
    if (before != of(path)) changed_(path);
}

void ItemStates::look(std::vector<std::string> paths) {
    if (isLooking_) {
        next_ = std::make_unique<std::vector<std::string>>(std::move(paths));
        return;
    }
    lookNow(std::move(paths));
}

void ItemStates::lookNow(std::vector<std::string> paths) {
    isLooking_ = true;
    const std::set<std::string> runningNow(running_.begin(), running_.end());
    MVThread::dispatchQueueWithName(
        "app.morvane.itemStates", Priority::low, [self = self_, paths = std::move(paths), runningNow] {
            States states;
            const std::vector<bool> running = NSUtilities::whichWrappersRun(paths);
            for (std::size_t item = 0; item < paths.size(); ++item) {
                const Wrapper wrapper(paths[item]);
                ItemState& state = states[paths[item]];
                state.isMissing = local_items::isMissing(paths[item]);
                state.isUnfinished =
                    wrapper.runsPrograms() && files::kindOf(wrapper.systemRegistry()) == files::Kind::none;
                state.isRunning = running[item];
                // Read here, it is known by the time that a button is titled.
                static_cast<void>(NSGameData::getIdentifierOfGameAtPath(paths[item]));
            }
            MVThread::dispatchBlockInMainQueue([self, states, runningNow] {
                if (*self != nullptr) (*self)->take(states, runningNow);
            });
        });
}

void ItemStates::take(const States& seen, const std::set<std::string>& runningThen) {
    isLooking_ = false;
    States before;
    for (const auto& [path, state] : seen) before[path] = of(path);
    seen_ = seen;
    for (auto& [path, state] : seen_) {
        // What was started here ends when it is told: its last processes are no run of their own.
        if (runningThen.contains(path)) state.isRunning = false;
        if (before[path] != of(path)) changed_(path);
    }
    if (const auto next = std::exchange(next_, nullptr)) lookNow(std::move(*next));
}

}  // namespace morvane
