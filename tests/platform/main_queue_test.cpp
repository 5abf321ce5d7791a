#include "platform/main_queue.h"

#include <memory>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace morvane {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

TEST(MainQueueCalls, BringResultsAndExceptionsBack) {
    MainQueue queue;
    bool ended = false;
    std::thread worker([&] {
        int value = 0;
        EXPECT_TRUE(queue.callAndWait([&] { value = queue.isMainThread() ? 1 : 2; }));
        EXPECT_EQ(value, 1);
        EXPECT_THROW((void)queue.callAndWait([] { throw std::runtime_error("told"); }), std::runtime_error);
        queue.post([&] { ended = true; });
    });
    queue.runUntil([&] { return ended; });
    worker.join();
}

TEST(MainQueueCalls, OfAClosedQueueReturnUnlessTheirWorkRuns) {
    MainQueue queue;
    std::binary_semaphore inside(0), closed(0), waits(0);
    std::string order;
    std::thread runs([&] {
        EXPECT_TRUE(queue.callAndWait([&] {
            inside.release();
            closed.acquire();
            order += "work ";
        }));
        order += "caller";
    });
    std::thread closer([&] {
        inside.acquire();
        // Posted behind the work that runs: it will never start.
        std::thread dropped([&] {
            waits.release();
            EXPECT_FALSE(queue.callAndWait([&] { order += "dropped "; }));
        });
        waits.acquire();
        queue.close();
        dropped.join();
        EXPECT_FALSE(queue.callAndWait([] {}));
        closed.release();
    });
    queue.runUntil([] { return false; });
    runs.join();
    closer.join();
    EXPECT_EQ(order, "work caller");
}

TEST(MainQueueTimers, MayBeCancelledByThemselvesAndByWhatTheyHold) {
    MainQueue queue;
    int ticks = 0;
    MainQueue::TimerId own = 0;
    own = queue.every(milliseconds(0), [&] {
        ++ticks;
        queue.cancelTimer(own);
    });
    queue.drain();
    EXPECT_EQ(ticks, 1);

    // What a dropped piece of work holds may use the queue when it is destroyed.
    struct Caller {
        MainQueue& queue;
        bool& called;
        ~Caller() {
            queue.post([flag = &called] { *flag = true; });
        }
    };
    bool called = false;
    auto caller = std::make_shared<Caller>(queue, called);
    const auto timer = queue.every(hours(1), [caller] {});
    caller.reset();
    queue.cancelTimer(timer);
    queue.drain();
    EXPECT_TRUE(called);
}

}  // namespace
}  // namespace morvane
