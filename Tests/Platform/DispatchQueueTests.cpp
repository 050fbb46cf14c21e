#include "Platform/Foundation/Activity.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Platform.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/Support/WithoutThreads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <optional>
#include <semaphore>
#include <thread>
#include <vector>

namespace kova {
namespace {

[[nodiscard]] bool becomesIdle()
{
    return Activity::waitUntilIdle(std::chrono::steady_clock::now() + std::chrono::seconds {10});
}

struct DispatchQueueTest : testing::Test {
    void SetUp() override { DispatchQueue::acceptTasks(); }
    void TearDown() override { DispatchQueue::shutDownAll(); }
};

TEST_F(DispatchQueueTest, RunsTasksOneByOneInOrder)
{
    const auto queue = DispatchQueue::create("a");
    std::vector<int> order;
    for (int task = 0; task < 1'000; ++task)
        queue->async([&order, task] { order.push_back(task); });
    queue->sync([&] {
        EXPECT_TRUE(queue->isCurrent());
        EXPECT_FALSE(DispatchQueue::main().isCurrent());
    });
    ASSERT_EQ(order.size(), 1'000U);
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST_F(DispatchQueueTest, FinishesItsTasksWhenTheLastReferenceDropsOnItsOwnThread)
{
    std::atomic<int> ran = 0;
    for (int round = 0; round < 200; ++round) {
        auto queue = DispatchQueue::create("dropped");
        auto& handle = *queue;
        handle.async([&ran, queue = std::move(queue)]() mutable {
            queue->async([&ran] { ++ran; });
            queue.reset();
            ++ran;
        });
    }
    ASSERT_TRUE(becomesIdle());
    EXPECT_EQ(ran, 400);
}

TEST_F(DispatchQueueTest, ShutDownWaitsForWhatRunsAndDropsTheRest)
{
    std::binary_semaphore isRunning {0};
    std::binary_semaphore mayEnd {0};
    std::atomic<bool> hasEnded = false;
    const auto dropped = std::make_shared<int>();
    const auto queue = DispatchQueue::create("busy");
    queue->async([&] {
        isRunning.release();
        mayEnd.acquire();
        hasEnded = true;
    });
    queue->async([dropped] { ADD_FAILURE() << "ran after the shutdown began"; });
    DispatchQueue::main().async([dropped] { ADD_FAILURE() << "ran without a loop"; });
    isRunning.acquire();
    // A caller that waits for a task is released when the task is dropped.
    std::jthread waiting {[&] { queue->sync([dropped] { }); }};
    std::jthread shutDown {[] { DispatchQueue::shutDownAll(); }};
    // The shutdown has begun once it refuses tasks; probes that it still takes are dropped with the others.
    std::weak_ptr<int> probe;
    do {
        auto alive = std::make_shared<int>();
        probe = alive;
        queue->async([alive = std::move(alive)] { });
    } while (!probe.expired());
    mayEnd.release();
    shutDown.join();
    waiting.join();
    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(dropped.use_count(), 1);
    EXPECT_TRUE(becomesIdle());

    // A queue that outlives a shutdown works again afterwards.
    DispatchQueue::acceptTasks();
    bool ran = false;
    queue->sync([&ran] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST_F(DispatchQueueTest, ASuspensionHoldsBackItsOwnQueueAlone)
{
    std::vector<int> order;
    auto queue = DispatchQueue::create("suspended");
    const auto other = DispatchQueue::create("other");
    std::weak_ptr<DispatchQueue> alive = queue;
    {
        const DispatchQueue::Suspension outer {queue};
        const auto inner = std::make_optional<DispatchQueue::Suspension>(queue);
        queue->async([&order] { order.push_back(1); });
        queue->async([&order] { order.push_back(2); });
        queue.reset();
        for (int round = 0; round < 100; ++round)
            other->sync([&order] { EXPECT_TRUE(order.empty()); });
        EXPECT_FALSE(alive.expired());
    }
    ASSERT_TRUE(becomesIdle());
    EXPECT_EQ(order, (std::vector {1, 2}));
    EXPECT_TRUE(alive.expired());

    // The end of everything does not wait for a suspension.
    const auto dropped = std::make_shared<int>();
    const auto held = DispatchQueue::create("held");
    const DispatchQueue::Suspension suspension {held};
    held->async([dropped] { ADD_FAILURE() << "ran while suspended"; });
    DispatchQueue::shutDownAll();
    EXPECT_EQ(dropped.use_count(), 1);
}

TEST_F(DispatchQueueTest, TheMainQueueEndsBetweenTwoTasks)
{
    struct Endless {
        std::stop_source& stop;
        int& rounds;
        void operator()()
        {
            if (++rounds % 3 == 0)
                stop.request_stop();
            DispatchQueue::main().async(*this);
        }
    };
    std::stop_source stop;
    int rounds = 0;
    DispatchQueue::main().async(Endless {.stop = stop, .rounds = rounds});
    DispatchQueue::runMain(stop.get_token());
    EXPECT_EQ(rounds, 3);
    DispatchQueue::runMain(stop.get_token());
    DispatchQueue::drainMainUntil(std::chrono::steady_clock::now());
    EXPECT_EQ(rounds, 3) << "nothing begins once it is over";
    DispatchQueue::drainMainUntil(std::chrono::steady_clock::now() + std::chrono::milliseconds {100});
    EXPECT_GT(rounds, 3);
}

TEST_F(DispatchQueueTest, ThePlatformsEndRunsWhatWaitsOnItsMainQueue)
{
    const tests::TemporaryFolder folder;
    int ran = 0;
    {
        const DevicePlatform platform {{.bundleIdentifier = "queue.test", .dataFolder = folder.path()}};
        for (int task = 0; task < 100; ++task)
            DispatchQueue::main().async([&ran] { ++ran; });
    }
    EXPECT_EQ(ran, 100);
}

TEST_F(DispatchQueueTest, WaitingForOneselfIsSaid)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto queue = DispatchQueue::create("self");
    EXPECT_EXIT(queue->sync([&queue] { queue->sync([] { }); }), testing::KilledBySignal(SIGABRT), "wait for ever");
}

// The first task of a queue without a thread once ended the process.
TEST_F(DispatchQueueTest, DropsTasksWithoutThreads)
{
    if (!tests::canForbidThreads())
        GTEST_SKIP() << "only root can become a user without threads";
    EXPECT_EQ(tests::runWithoutThreads([] {
        const auto queue = DispatchQueue::create("queue");
        bool hasRun = false;
        queue->sync([&] { hasRun = true; });
        queue->asyncAfter(std::chrono::milliseconds {1}, [&] { hasRun = true; });
        if (hasRun)
            _exit(2);
    }),
        0);
}

} // namespace
} // namespace kova
