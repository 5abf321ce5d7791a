// foundation/threads.h: moving work between threads. Any thread.
#pragma once

#include <functional>
#include <string>

#include "platform/work_queues.h"

namespace morvane {

namespace MVThread {

/// Runs the work later on a queue of its own, so that serial and concurrent queues are the same.
void dispatchQueueWithName(const std::string& label, Priority priority, std::function<void()> work);
/// Runs the work later on the main thread, in the order submitted.
void dispatchBlockInMainQueue(std::function<void()> work);

}  // namespace MVThread
}  // namespace morvane
