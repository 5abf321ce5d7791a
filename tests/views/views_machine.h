// The machine of a test of windows: the core's main queue runs in the toolkit's event loop, as in the application.
#pragma once

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <chrono>
#include <functional>

#include "platform/host.h"
#include "support/test_machine.h"

namespace morvane::testing {

class ViewsMachine : public TestMachine {
  public:
    explicit ViewsMachine(MessageCatalogue texts = {}) : TestMachine(std::move(texts)) {
        machine->mainQueue.setWaker([this] {
            QMetaObject::invokeMethod(
                &loop_, [this] { drain(); }, Qt::QueuedConnection);
        });
        QObject::connect(&timer_, &QTimer::timeout, &loop_, [this] { drain(); });
        timer_.setSingleShot(true);
    }
    ~ViewsMachine() override {
        machine->mainQueue.setWaker({});
        machine->mainQueue.close();
        machine->workQueues.joinAll();
    }

    /// Runs the event loop until the condition holds; fails the test when it does not within the limit.
    static void runUntil(const std::function<bool()>& condition,
                         std::chrono::seconds limit = std::chrono::seconds(20)) {
        QElapsedTimer watch;
        watch.start();
        while (!condition()) {
            ASSERT_LT(watch.elapsed(), std::chrono::milliseconds(limit).count()) << "nothing happened";
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
            poke();
        }
    }
    /// Does this as soon as a window is modal, which is given. Whoever opens it may block on it.
    template <class Window>
    void whenAsked(std::function<void(Window&)> act) {
        auto* poll = new QTimer(&loop_);
        QObject::connect(poll, &QTimer::timeout, &loop_, [poll, act = std::move(act)] {
            auto* window = dynamic_cast<Window*>(QApplication::activeModalWidget());
            if (window == nullptr || !window->isVisible()) return;
            poll->stop();
            poll->deleteLater();
            act(*window);
        });
        poll->start(5);
    }

  private:
    static void poke() {
        // Waiting for events ends with one.
        QTimer::singleShot(5, [] {});
    }
    void drain() {
        if (const auto next = machine->mainQueue.drain()) timer_.start(*next);
    }

    QObject loop_;
    QTimer timer_;
};

}  // namespace morvane::testing
