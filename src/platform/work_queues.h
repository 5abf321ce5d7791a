// platform/work_queues.h: background work, each piece on a queue of its own. Any thread.
#pragma once

#include <exception>
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

    /// Gets, on its thread, what a piece of work throws. Without a handler that ends the process. To be set
    /// before any work starts.
    void setExceptionHandler(std::function<void(std::exception_ptr)> handler);
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
    void run(const std::function<void()>& work) const;

    std::function<void(std::exception_ptr)> exceptionHandler_;
    Mutex mutex_;
    std::list<Worker> workers_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane
