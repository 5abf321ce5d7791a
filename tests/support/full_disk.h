// tests/support/full_disk.h: a full disk without a disk.
#pragma once

#include <signal.h>
#include <sys/resource.h>

namespace morvane::testing {

/// While it lives, no file of this process can grow beyond the limit.
class FullDisk {
  public:
    explicit FullDisk(rlim_t bytes) : handler_(::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        ::signal(SIGXFSZ, handler_);
    }

  private:
    rlimit before_{};
    void (*handler_)(int);
};

}  // namespace morvane::testing
