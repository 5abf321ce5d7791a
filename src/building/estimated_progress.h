// building/estimated_progress.h: a bar for work that cannot say how far it is: by the time that it took before.
// Made and ended on a worker.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "foundation/progress_view.h"
#include "foundation/settings.h"
#include "platform/main_queue.h"

namespace morvane::building {

/// While it lives, the bar moves towards its end, and the line below it says "about 5s left". Nothing is shown
/// the first time, when there is nothing to go by. `finished` notes how long it took this time.
class EstimatedProgress {
  public:
    /// `setting` keeps the time, in seconds.
    EstimatedProgress(std::shared_ptr<NSProgressView> progress, const settings::Key<double>& setting);
    ~EstimatedProgress();
    EstimatedProgress(const EstimatedProgress&) = delete;
    EstimatedProgress& operator=(const EstimatedProgress&) = delete;
    void finished();

  private:
    const std::shared_ptr<NSProgressView> progress_;
    const settings::Key<double> setting_;
    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    MainQueue::TimerId timer_ = 0;
};

}  // namespace morvane::building
