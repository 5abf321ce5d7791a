#include "foundation/progress_view.h"

#include <algorithm>

#include "platform/host.h"

namespace morvane {

namespace {

constexpr int openHeight = 111;

void show(const ProgressState& state) {
    host().mainQueue.post([state] { host().userInterface.showProgress(state); });
}

}  // namespace

NSProgressView::NSProgressView() = default;

bool NSProgressView::disturbs(CreatingPort creatingPort) const {
    return state_.creatingWrapper && creatingPort == CreatingPort::no;
}

template <class Change>
bool NSProgressView::change(CreatingPort creatingPort, Change change) {
    // Posted under the lock, so that the front end sees the states in the order in which they came to be.
    MutexLock lock(mutex_);
    if (disturbs(creatingPort)) return false;
    change(state_);
    show(state_);
    return true;
}

bool NSProgressView::showCreatingPort(CreatingPort creatingPort) {
    return change(creatingPort, [](ProgressState& state) {
        state.subtitle.clear();
        state.indeterminate = true;
        state.height = openHeight;
    });
}

bool NSProgressView::setMessage(const std::string& message, CreatingPort creatingPort) {
    return change(creatingPort, [&](ProgressState& state) { state.status = message; });
}

bool NSProgressView::setSubtitle(const std::string& subtitle, CreatingPort creatingPort) {
    return change(creatingPort, [&](ProgressState& state) { state.subtitle = subtitle; });
}

bool NSProgressView::closeCreatingPort(CreatingPort creatingPort) {
    return change(creatingPort, [](ProgressState& state) {
        if (!state.creatingWrapper) state.height = 0;
    });
}

void NSProgressView::setCurrentValue(int value) {
    change(CreatingPort::yes, [value](ProgressState& state) {
        state.indeterminate = false;
        state.value = std::clamp(value, 0, 1000);
    });
}

void NSProgressView::setIndeterminate(bool indeterminate) {
    change(CreatingPort::yes, [indeterminate](ProgressState& state) { state.indeterminate = indeterminate; });
}

void NSProgressView::setHeight(int height) {
    change(CreatingPort::yes, [height](ProgressState& state) { state.height = height; });
}

void NSProgressView::setCancelAction(std::function<void()> action) {
    MutexLock lock(mutex_);
    cancelAction_ = std::move(action);
    state_.cancellable = cancelAction_ != nullptr;
    show(state_);
}

bool NSProgressView::cancel() {
    std::function<void()> action;
    {
        MutexLock lock(mutex_);
        action = cancelAction_;
    }
    if (action) action();
    return action != nullptr;
}

void NSProgressView::setIsCreatingWrapper(bool creating) {
    change(CreatingPort::yes, [creating](ProgressState& state) { state.creatingWrapper = creating; });
}

bool NSProgressView::isCreatingWrapper() const {
    MutexLock lock(mutex_);
    return state_.creatingWrapper;
}

}  // namespace morvane
