#include "Platform/Foundation/Activity.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Tests/Support/ManualClock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <memory>
#include <vector>

namespace kova {
namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

[[nodiscard]] bool becomesIdle()
{
    return Activity::waitUntilIdle(std::chrono::steady_clock::now() + 10s);
}

struct DelayedTaskTest : testing::Test {
    void SetUp() override { DispatchQueue::acceptTasks(); }
    void TearDown() override { DispatchQueue::shutDownAll(); }

    const std::shared_ptr<DispatchQueue> queue = DispatchQueue::create("delayed");
    std::vector<int> order;

    void submit(Seconds delay, int number)
    {
        queue->asyncAfter(delay, [this, number] { order.push_back(number); });
    }
};

TEST_F(DelayedTaskTest, RunWhenTheirTimeHasComeAndCountAsUnderWayUntilThen)
{
    const auto begin = std::chrono::steady_clock::now();
    submit(150ms, 3);
    submit(50ms, 1);
    submit(100ms, 2);
    // The last reference may drop before its task is due.
    auto handle = DispatchQueue::create("dropped");
    bool ran = false;
    handle->asyncAfter(20ms, [&ran] { ran = true; });
    handle.reset();
    ASSERT_TRUE(becomesIdle());
    EXPECT_EQ(order, (std::vector {1, 2, 3}));
    EXPECT_TRUE(ran);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 150ms);
}

TEST_F(DelayedTaskTest, DelaysThatAreNoneAndDelaysWithoutEnd)
{
    const auto forever = std::make_shared<int>();
    queue->asyncAfter(Seconds {std::numeric_limits<double>::infinity()}, [forever] { });
    queue->asyncAfter(1e300s, [forever] { });
    submit(0s, 1);
    submit(-1s, 2);
    submit(Seconds {std::numeric_limits<double>::quiet_NaN()}, 3);
    queue->sync([] { });
    EXPECT_EQ(order, (std::vector {1, 2, 3}));
    // What never came due is dropped, and so is what comes after the end.
    DispatchQueue::shutDownAll();
    EXPECT_EQ(forever.use_count(), 1);
    queue->asyncAfter(1ms, [forever] { });
    EXPECT_EQ(forever.use_count(), 1);
    EXPECT_TRUE(becomesIdle());

    DispatchQueue::acceptTasks();
    submit(1ms, 4);
    ASSERT_TRUE(becomesIdle());
    EXPECT_EQ(order.back(), 4);
}

} // namespace
} // namespace kova
