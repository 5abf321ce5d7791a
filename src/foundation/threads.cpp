#include "foundation/threads.h"

#include <utility>

#include "platform/host.h"

namespace morvane::MVThread {

void dispatchQueueWithName(const std::string& label, Priority priority, std::function<void()> work) {
    host().workQueues.start(label, priority, std::move(work));
}

void dispatchBlockInMainQueue(std::function<void()> work) {
    host().mainQueue.post(std::move(work));
}

}  // namespace morvane::MVThread
