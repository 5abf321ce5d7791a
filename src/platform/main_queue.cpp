#include "platform/main_queue.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <utility>

namespace morvane {

MainQueue::MainQueue() : mainThread_(std::this_thread::get_id()) {}

MainQueue::~MainQueue() {
    close();
}

void MainQueue::notify() {
    Work waker;
    {
        MutexLock lock(mutex_);
        changed_.notify_all();
        waker = waker_;
    }
    if (waker) waker();
}

void MainQueue::post(Work work) {
    {
        MutexLock lock(mutex_);
        if (closed_) return;
        work_.push_back(std::move(work));
    }
    notify();
}

bool MainQueue::callAndWait(const Work& work) {
    if (isMainThread()) {
        work();
        return true;
    }
    // Shared with the queue, which may drop the piece long after the waiter has gone.
    struct Call {
        std::exception_ptr exception;
        bool started = false;
        bool done = false;
    };
    auto call = std::make_shared<Call>();
    {
        MutexLock lock(mutex_);
        if (closed_) return false;
        work_.push_back([this, call, &work] {
            {
                MutexLock started(mutex_);
                if (closed_) return;
                call->started = true;
            }
            std::exception_ptr exception;
            try {
                work();
            } catch (...) {
                exception = std::current_exception();
            }
            MutexLock finished(mutex_);
            call->exception = exception;
            call->done = true;
            changed_.notify_all();
        });
    }
    notify();
    {
        MutexLock lock(mutex_);
        // Work that has started refers to the waiter's own objects: a closed queue releases only the others.
        while (!call->done && (!closed_ || call->started)) changed_.wait(mutex_);
    }
    if (call->exception) std::rethrow_exception(call->exception);
    return call->done;
}

MainQueue::TimerId MainQueue::addTimer(std::chrono::milliseconds delay, std::chrono::milliseconds period,
                                       Work work) {
    TimerId id = 0;
    {
        MutexLock lock(mutex_);
        id = nextTimer_++;
        if (closed_) return id;
        timers_.emplace(Clock::now() + delay, Timer{id, period, std::move(work)});
    }
    notify();
    return id;
}

MainQueue::TimerId MainQueue::after(std::chrono::milliseconds delay, Work work) {
    return addTimer(delay, std::chrono::milliseconds(0), std::move(work));
}

MainQueue::TimerId MainQueue::every(std::chrono::milliseconds period, Work work) {
    return addTimer(period, period, std::move(work));
}

void MainQueue::cancelTimer(TimerId timer) {
    // Declared before the lock, as in `close`.
    decltype(timers_)::node_type dropped;

    MutexLock lock(mutex_);
    std::erase(runningTimers_, timer);
    const auto found = std::ranges::find(timers_, timer, [](const auto& entry) { return entry.second.id; });
    if (found != timers_.end()) dropped = timers_.extract(found);
}

void MainQueue::setExceptionHandler(std::function<void(std::exception_ptr)> handler) {
    exceptionHandler_ = std::move(handler);
}

void MainQueue::runGuarded(const Work& work) const {
    if (!exceptionHandler_) return work();
    try {
        work();
    } catch (...) {
        exceptionHandler_(std::current_exception());
    }
}

bool MainQueue::runOne() {
    Timer timer;
    Work work;
    {
        MutexLock lock(mutex_);
        if (closed_) return false;
        if (!timers_.empty() && timers_.begin()->first <= Clock::now()) {
            timer = std::move(timers_.begin()->second);
            timers_.erase(timers_.begin());
            runningTimers_.push_back(timer.id);
        } else if (!work_.empty()) {
            work = std::move(work_.front());
            work_.pop_front();
        } else {
            return false;
        }
    }
    if (work) {
        runGuarded(work);
        return true;
    }
    runGuarded(timer.work);
    MutexLock lock(mutex_);
    // Counted from now: a dialog that was open for an hour must not be followed by an hour of ticks.
    const bool cancelled = std::erase(runningTimers_, timer.id) == 0;
    if (timer.period.count() > 0 && !cancelled && !closed_) {
        timers_.emplace(Clock::now() + timer.period, std::move(timer));
    }
    return true;
}

void MainQueue::runUntil(const std::function<bool()>& predicate) {
    while (!predicate()) {
        if (runOne()) continue;
        MutexLock lock(mutex_);
        while (!closed_ && !woken_ && work_.empty() &&
               (timers_.empty() || timers_.begin()->first > Clock::now())) {
            if (timers_.empty()) {
                changed_.wait(mutex_);
            } else {
                // A copy: while this waits, the timer may be cancelled by another thread.
                const Clock::time_point due = timers_.begin()->first;
                changed_.wait_until(mutex_, due);
            }
        }
        woken_ = false;
        if (closed_) return;
    }
}

std::optional<std::chrono::milliseconds> MainQueue::drain() {
    while (runOne()) {
    }
    MutexLock lock(mutex_);
    if (timers_.empty()) return std::nullopt;
    auto left = std::chrono::ceil<std::chrono::milliseconds>(timers_.begin()->first - Clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

void MainQueue::setWaker(Work waker) {
    MutexLock lock(mutex_);
    waker_ = std::move(waker);
}

void MainQueue::wake() {
    {
        MutexLock lock(mutex_);
        woken_ = true;
    }
    notify();
}

void MainQueue::close() {
    std::deque<Work> dropped;
    std::multimap<Clock::time_point, Timer> droppedTimers;
    // Declared before the lock: what the pieces hold may call back when it is destroyed.
    MutexLock lock(mutex_);
    closed_ = true;
    dropped.swap(work_);
    droppedTimers.swap(timers_);
    changed_.notify_all();
}

}  // namespace morvane
