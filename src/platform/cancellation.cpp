#include "platform/cancellation.h"

#include <utility>

namespace morvane {

bool Cancellation::begin() {
    MutexLock lock(mutex_);
    if (running_ || shutDown_) return false;
    running_ = true;
    requested_ = false;
    thread_ = std::this_thread::get_id();
    return true;
}

void Cancellation::end() {
    MutexLock lock(mutex_);
    running_ = false;
    requested_ = false;
    thread_ = {};
}

bool Cancellation::running() const {
    MutexLock lock(mutex_);
    return running_;
}

bool Cancellation::runsHere() const {
    MutexLock lock(mutex_);
    return running_ && thread_ == std::this_thread::get_id();
}

void Cancellation::request() {
    MutexLock lock(mutex_);
    requestLocked();
}

void Cancellation::shutDown() {
    MutexLock lock(mutex_);
    shutDown_ = true;
    requestLocked();
}

void Cancellation::requestLocked() {
    if (!running_ || requested_) return;
    requested_ = true;
    // Called under the lock, so that an interrupter's destructor waits until its function has returned.
    for (const auto& interrupt : interrupters_) interrupt();
}

bool Cancellation::requested() const {
    MutexLock lock(mutex_);
    return requested_;
}

void Cancellation::throwIfRequested() const {
    MutexLock lock(mutex_);
    if (requested_ && thread_ == std::this_thread::get_id()) throw Cancelled();
}

Cancellation::Interrupter::Interrupter(Cancellation& cancellation, std::function<void()> interrupt)
    : cancellation_(cancellation) {
    MutexLock lock(cancellation_.mutex_);
    if (cancellation_.requested_) interrupt();
    place_ = cancellation_.interrupters_.insert(cancellation_.interrupters_.end(), std::move(interrupt));
}

Cancellation::Interrupter::~Interrupter() {
    MutexLock lock(cancellation_.mutex_);
    cancellation_.interrupters_.erase(place_);
}

}  // namespace morvane
