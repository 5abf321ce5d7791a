// views/core_loop.h: runs the core's main queue in the toolkit's event loop, also while a dialog has a loop of its own.
// Main thread.
#pragma once

#include <QObject>
#include <QTimer>

namespace morvane::views {

class CoreLoop : public QObject {
  public:
    /// Of the host's queue, from now on. What it throws is told in a dialog; nothing throws through the event loop.
    CoreLoop();
    /// Closes the queue: whoever waits for the main thread goes on.
    ~CoreLoop() override;

  private:
    void drain();

    QTimer nextTimer_;
};

}  // namespace morvane::views
