// platform/work_queues.h: background work, each piece on a queue of its own. Any thread.
#pragma once

#include <functional>
#include <list>
#include <string>
#include <thread>

#include "platform/annotations.h"

namespace morvane {

enum class Priority { high, normal, low, background };

/// Nothing is detached: every piece of work is joined, at the latest by `joinAll`.
class WorkQueues {
  public:
    WorkQueues() = default;
    ~WorkQueues();
    WorkQueues(const WorkQueues&) = delete;
    WorkQueues& operator=(const WorkQueues&) = delete;

    /// Starts the work on a thread named after the label (its last 15 characters) and returns at once.
    void start(const std::string& label, Priority priority, std::function<void()> work);
    /// Waits until no work is left, work started meanwhile included. Not from a work thread.
    void joinAll();
    /// True while some work is unfinished.
    [[nodiscard]] bool busy();

  private:
    struct Worker {
        std::thread thread;
        bool finished = false;
    };
    void reapFinished() MV_REQUIRES(mutex_);

    Mutex mutex_;
    std::list<Worker> workers_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane
