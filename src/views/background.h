// views/background.h: work of a window on a queue. Main thread.
#pragma once

#include <QPointer>
#include <memory>
#include <utility>

#include "foundation/threads.h"

namespace morvane::views {

/// Runs `work` on a queue of its own and then, on the main thread, `then` with what it gave; not when the
/// receiver is gone by then.
template <class Work, class Then>
void inBackground(const char* label, QObject* receiver, Work work, Then then) {
    MVThread::dispatchQueueWithName(
        label, Priority::normal,
        [receiver = QPointer<QObject>(receiver), work = std::move(work), then = std::move(then)]() mutable {
            auto result = std::make_shared<decltype(work())>(work());
            MVThread::dispatchBlockInMainQueue([receiver, result, then = std::move(then)]() mutable {
                if (receiver) then(std::move(*result));
            });
        });
}

}  // namespace morvane::views
