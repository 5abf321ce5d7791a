// foundation/threads.h: moving work between threads. Any thread.
#pragma once

#include <functional>
#include <string>

#include "platform/work_queues.h"

namespace morvane {

enum class Concurrent { no, yes };

namespace MVThread {

/// Runs the work later on a queue of its own.
void dispatchQueueWithName(const std::string& label, Priority priority, Concurrent concurrent,
                           std::function<void()> work);
/// Runs the work later on the main thread, in the order submitted.
void dispatchBlockInMainQueue(std::function<void()> work);

}  // namespace MVThread
}  // namespace morvane
