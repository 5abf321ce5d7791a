#include "platform/main_queue.h"

#include <memory>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "platform/work_queues.h"

namespace morvane {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

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

TEST(QueueExceptions, GoToTheHandler) {
    std::string told;
    const auto handler = [&](const std::exception_ptr& thrown) {
        try {
            std::rethrow_exception(thrown);
        } catch (const std::runtime_error& error) {
            told += error.what();
        }
    };
    const auto throwing = [](const char* what) { return [what] { throw std::runtime_error(what); }; };
    {
        MainQueue queue;
        queue.setExceptionHandler(handler);
        queue.post(throwing("work "));
        queue.after(milliseconds(0), throwing("timer "));
        EXPECT_NO_THROW(queue.drain());
        EXPECT_THROW((void)queue.callAndWait(throwing("call ")), std::runtime_error) << "its caller's";
    }
    WorkQueues queues;
    queues.setExceptionHandler(handler);
    queues.start("throwing", Priority::normal, throwing("background"));
    queues.joinAll();
    EXPECT_EQ(told, "timer work background");
}

TEST(MainQueueTimers, FireAgainAfterEachPeriodUntilTheyAreCancelled) {
    MainQueue queue;
    constexpr milliseconds period(20);
    int ticks = 0, others = 0;
    const auto start = std::chrono::steady_clock::now();
    MainQueue::TimerId own = 0;
    own = queue.every(period, [&] {
        if (++ticks == 3) queue.cancelTimer(own);  // while it runs
    });
    bool late = false;
    const auto limit = queue.after(std::chrono::seconds(10), [&] { late = true; });
    queue.runUntil([&] { return ticks == 3 || late; });
    queue.cancelTimer(limit);
    EXPECT_EQ(ticks, 3);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 3 * period);
    EXPECT_EQ(queue.drain(), std::nullopt) << "nothing is left to fire";

    // Cancelled by another while it waits.
    const auto waiting = queue.every(period, [&] { ++others; });
    queue.cancelTimer(waiting);
    EXPECT_EQ(queue.drain(), std::nullopt);
    EXPECT_EQ(others, 0);
}

TEST(MainQueueTimers, MayHoldWhatUsesTheQueueAtItsEnd) {
    MainQueue queue;
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
