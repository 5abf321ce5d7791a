#include "building/estimated_progress.h"

#include <algorithm>
#include <utility>

#include "foundation/localization.h"
#include "platform/host.h"

namespace morvane::building {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::chrono::milliseconds betweenSteps{500};
/// The end is shown when it is there, however long it takes.
constexpr double mostShown = 950;

void show(NSProgressView& progress, double elapsed, double expected) {
    progress.setCurrentValue(static_cast<int>(std::min(mostShown, elapsed / expected * 1000)));
    const auto left = static_cast<long>(expected - elapsed);
    progress.setSubtitle(left > 0 ? localized("about %@s left", {std::to_string(left)}) : "",
                         CreatingPort::yes);
}

}  // namespace

EstimatedProgress::EstimatedProgress(std::shared_ptr<NSProgressView> progress,
                                     const settings::Key<double>& setting)
    : progress_(std::move(progress)), setting_(setting) {
    const double seconds = settings::get(setting_);
    if (seconds <= 0) return;
    timer_ = host().mainQueue.every(betweenSteps, [view = progress_, start = start_, seconds] {
        show(*view, Seconds(Clock::now() - start).count(), seconds);
    });
}

EstimatedProgress::~EstimatedProgress() {
    if (timer_ == 0) return;
    host().mainQueue.cancelTimer(timer_);
    progress_->setIndeterminate(true);
    progress_->setSubtitle("", CreatingPort::yes);
}

void EstimatedProgress::finished() {
    settings::set(setting_, Seconds(Clock::now() - start_).count());
}

}  // namespace morvane::building
