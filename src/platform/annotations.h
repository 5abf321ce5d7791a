// platform/annotations.h: a mutex and its lock that clang's thread-safety analysis can follow.
#pragma once

#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define MV_ATTRIBUTE(x) __attribute__((x))
#else
#define MV_ATTRIBUTE(x)
#endif

#define MV_GUARDED_BY(mutex) MV_ATTRIBUTE(guarded_by(mutex))
#define MV_REQUIRES(mutex) MV_ATTRIBUTE(requires_capability(mutex))

namespace morvane {

class MV_ATTRIBUTE(capability("mutex")) Mutex {
  public:
    void lock() MV_ATTRIBUTE(acquire_capability()) { mutex_.lock(); }
    void unlock() MV_ATTRIBUTE(release_capability()) { mutex_.unlock(); }

  private:
    std::mutex mutex_;
};

class MV_ATTRIBUTE(scoped_lockable) MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) MV_ATTRIBUTE(acquire_capability(mutex)) : mutex_(mutex) {
        mutex_.lock();
    }
    ~MutexLock() MV_ATTRIBUTE(release_capability()) { mutex_.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

  private:
    Mutex& mutex_;
};

/// Waits on a `Mutex` that the caller holds; always waited for with a loop over the guarded predicate.
using Condition = std::condition_variable_any;

}  // namespace morvane
