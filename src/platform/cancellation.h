// platform/cancellation.h: the one creation that may run, and the request to cancel it.
#pragma once

#include <exception>
#include <functional>
#include <list>
#include <string>
#include <thread>

#include "platform/annotations.h"

namespace morvane {

/// Unwinds the creation's thread after a cancellation; only the entry operations of a creation catch it.
class Cancelled : public std::exception {
  public:
    [[nodiscard]] const char* what() const noexcept override { return "Cancelled"; }
};

/// The token of the running creation: which thread runs it, and whether it has been asked to stop.
/// `request` never blocks on the creation.
class Cancellation {
  public:
    /// Records the calling thread as the creation's. False, and nothing changes, while another creation runs
    /// and after `shutDown`.
    [[nodiscard]] bool begin();
    /// Ends the creation, whichever thread runs it; pending requests are forgotten. Harmless when none runs.
    void end();
    [[nodiscard]] bool running() const;
    /// True on the thread of the running creation.
    [[nodiscard]] bool runsHere() const;
    /// Any thread: asks the running creation to stop and calls the interrupters. No effect when none runs.
    void request();
    /// The application ends: a request that holds for good, so that no creation begins any more.
    void shutDown();
    [[nodiscard]] bool requested() const;
    /// Throws `Cancelled` on the creation's own thread once a request was made; does nothing on other
    /// threads.
    void throwIfRequested() const;

    /// While it lives, a request calls the function (on the requesting thread), at once when one is pending.
    /// The function must not block and must not destroy the interrupter.
    class Interrupter {
      public:
        Interrupter(Cancellation& cancellation, std::function<void()> interrupt);
        ~Interrupter();
        Interrupter(const Interrupter&) = delete;
        Interrupter& operator=(const Interrupter&) = delete;

      private:
        Cancellation& cancellation_;
        std::list<std::function<void()>>::iterator place_;
    };

  private:
    friend class Interrupter;
    void requestLocked() MV_REQUIRES(mutex_);

    mutable Mutex mutex_;
    std::thread::id thread_ MV_GUARDED_BY(mutex_);
    bool running_ MV_GUARDED_BY(mutex_) = false;
    bool requested_ MV_GUARDED_BY(mutex_) = false;
    bool shutDown_ MV_GUARDED_BY(mutex_) = false;
    std::list<std::function<void()>> interrupters_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane
