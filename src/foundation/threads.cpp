#include "foundation/threads.h"

#include <utility>

#include "platform/host.h"

namespace morvane::MVThread {

void dispatchQueueWithName(const std::string& label, Priority priority, Concurrent /*concurrent*/,
                           std::function<void()> work) {
    // Each call has a queue of its own with one piece of work, so serial and concurrent queues are the same.
    host().workQueues.start(label, priority, std::move(work));
}

void dispatchBlockInMainQueue(std::function<void()> work) {
    host().mainQueue.post(std::move(work));
}

}  // namespace morvane::MVThread
