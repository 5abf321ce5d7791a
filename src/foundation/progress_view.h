// foundation/progress_view.h: the progress panel. Any thread; effects reach the front end through the main
// queue.
#pragma once

#include <functional>
#include <string>

#include "platform/annotations.h"
#include "platform/user_interface.h"

namespace morvane {

/// Whether the caller is the port-building pipeline. While a wrapper is created, calls of others do nothing.
enum class CreatingPort { no, yes };

class NSProgressView {
  public:
    NSProgressView();

    /// Clears the subtitle, makes the bar indeterminate, 111 points high.
    bool showCreatingPort(CreatingPort creatingPort);
    bool setMessage(const std::string& message, CreatingPort creatingPort);
    bool setSubtitle(const std::string& subtitle, CreatingPort creatingPort);
    /// Collapses the panel unless a wrapper is being created.
    bool closeCreatingPort(CreatingPort creatingPort);
    /// 0 to 1000; makes the bar determinate.
    void setCurrentValue(int value);
    void setIndeterminate(bool indeterminate);
    /// Points.
    void setHeight(int height);

    /// What the panel's cancel button does; without an action there is none to press.
    void setCancelAction(std::function<void()> action);
    /// A click on the cancel button; false when there is none. The action runs on the calling thread.
    bool cancel();

    void setIsCreatingWrapper(bool creating);
    [[nodiscard]] bool isCreatingWrapper() const;

  private:
    [[nodiscard]] bool disturbs(CreatingPort creatingPort) const MV_REQUIRES(mutex_);
    /// Changes the state and has the front end show it, in order, on the main thread; false when the call
    /// disturbs.
    template <class Change>
    bool change(CreatingPort creatingPort, Change change);

    mutable Mutex mutex_;
    ProgressState state_ MV_GUARDED_BY(mutex_);
    std::function<void()> cancelAction_ MV_GUARDED_BY(mutex_);
};

}  // namespace morvane
