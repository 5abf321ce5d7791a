// platform/main_queue.h: the queue of the main thread.
//
// The thread that makes the queue is the main thread. Work runs one piece at a time, in the order posted. The
// main thread runs it with `run` or `runUntil`; a front end with its own event loop sets a waker and calls
// `drain`. All operations but `run`, `runUntil` and `drain` may be called from any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <thread>
#include <vector>

#include "platform/annotations.h"

namespace morvane {

class MainQueue {
  public:
    using Work = std::function<void()>;
    using TimerId = std::uint64_t;

    MainQueue();
    ~MainQueue();
    MainQueue(const MainQueue&) = delete;
    MainQueue& operator=(const MainQueue&) = delete;

    /// Runs the work later on the main thread, also when called on it. Dropped after `close`.
    void post(Work work);
    /// Runs the work on the main thread and waits for it; at once when called on the main thread.
    /// False when the queue was closed before the work had run; exceptions of the work reach the caller.
    bool callAndWait(const Work& work);

    TimerId after(std::chrono::milliseconds delay, Work work);
    TimerId every(std::chrono::milliseconds period, Work work);
    void cancelTimer(TimerId timer);

    [[nodiscard]] bool isMainThread() const { return std::this_thread::get_id() == mainThread_; }

    /// Main thread only: run work and timers until the predicate holds (tested after each piece) or the queue
    /// closes.
    void runUntil(const std::function<bool()>& predicate);
    /// Main thread only: run everything that is due now, without waiting; for foreign event loops.
    /// Returns how long until the next timer, if any.
    std::optional<std::chrono::milliseconds> drain();
    /// Gets, on the main thread, what posted work and timers throw: nothing throws through an event loop.
    /// Without a handler it leaves `runUntil` and `drain`. What is called with `callAndWait` throws at its
    /// caller. Main thread, before any work.
    void setExceptionHandler(std::function<void(std::exception_ptr)> handler);
    /// Called (on any thread) whenever work or an earlier timer has been added.
    void setWaker(Work waker);
    /// Wakes a `runUntil` so that it tests its predicate again.
    void wake();

    /// Drops what waits, releases every `callAndWait`, and refuses further work.
    void close();

  private:
    using Clock = std::chrono::steady_clock;
    struct Timer {
        TimerId id = 0;
        std::chrono::milliseconds period{0};  // 0 for one shot
        Work work;
    };
    bool runOne();
    void runGuarded(const Work& work) const;
    TimerId addTimer(std::chrono::milliseconds delay, std::chrono::milliseconds period, Work work);
    void notify();

    const std::thread::id mainThread_;
    std::function<void(std::exception_ptr)> exceptionHandler_;
    mutable Mutex mutex_;
    Condition changed_;
    std::deque<Work> work_ MV_GUARDED_BY(mutex_);
    std::multimap<Clock::time_point, Timer> timers_ MV_GUARDED_BY(mutex_);
    TimerId nextTimer_ MV_GUARDED_BY(mutex_) = 1;
    // Several, when the work of one opens a dialog and others fire meanwhile. A cancelled one is no longer
    // listed.
    std::vector<TimerId> runningTimers_ MV_GUARDED_BY(mutex_);
    bool closed_ MV_GUARDED_BY(mutex_) = false;
    bool woken_ MV_GUARDED_BY(mutex_) = false;
    Work waker_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane
