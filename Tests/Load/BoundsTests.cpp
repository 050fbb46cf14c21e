// How long the SDK may hold anybody up: a publication for the ten seconds of its exchange, the end of the platform for
// next to nothing.

#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/Extensions/UIImageView.h"
#include "KovaSDK/KovaSDK.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Tests/Load/Traffic.h"
#include "Tests/Support/LoadSize.h"
#include "Tests/Support/TestPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <thread>

namespace kova::tests {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli> {duration}.count();
}

TEST(BoundsTest, AnEventIsSavedWithinTheTenSecondsOfItsExchange)
{
    const auto slow = std::make_shared<Gate>();
    std::vector<Reply> replies;
    replies.push_back(Reply::never());
    replies.push_back(Reply::status(200).paced(slow));
    replies.push_back(Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nbody", Reply::Then::silence));
    LoopbackServer server;
    TestPlatform platform {server.url("/v2/").absoluteString()};
    platform.network->flags = FakeNetwork::wifi;
    KovaNotify::initWithCallbacks(std::nullopt);
    Traffic traffic {platform.vendor};
    ASSERT_TRUE(platform.platform.settle(10s));
    // A byte a second, for longer than the exchange may take.
    for (int second = 1; second <= 12; ++second)
        DispatchQueue::main().asyncAfter(std::chrono::seconds {second}, [slow] { slow->pass(); });
    const auto count = replies.size();
    for (auto& reply : replies)
        server.enqueue(std::move(reply));
    std::vector<Clock::duration> taken(count);
    {
        std::vector<std::jthread> threads;
        for (std::size_t index = 0; index < count; ++index) {
            threads.emplace_back([&, index] {
                const auto begin = Clock::now();
                traffic.save(std::to_string(index));
                taken[index] = Clock::now() - begin;
            });
        }
    }
    for (const auto time : taken) {
        std::cout << "save() took " << milliseconds(time) << " ms\n";
        EXPECT_LT(time, 11s);
    }
    EXPECT_EQ(server.requests().size(), count) << "each is sent once";
    // They failed at one time and store with no lock, so that one may overwrite another.
    EXPECT_GE(EventStorage {}.buffer().size(), 1U);
    Traffic::expectWholeStore();
}

TEST(BoundsTest, ThePlatformEndsAtOnceWithEverythingUnderWay)
{
    // The fastest of some, since a busy machine and a busy disk may hold up any.
    auto fastest = Clock::duration::max();
    for (int round = 0; round < 5 || (round < 20 && fastest >= promptly); ++round) {
        LoopbackServer server;
        server.setDefault(Reply::never());
        auto platform = std::make_unique<TestPlatform>(server.url("/v2/").absoluteString());
        KovaNotify::initWithCallbacks(std::nullopt);
        Traffic traffic {platform->vendor};
        for (int count = 0; count < 100; ++count)
            traffic.save(std::to_string(count));
        platform->network->flags = FakeNetwork::wifi;
        // Publications that block their threads, a release, uploads, a download, and what waits behind them.
        std::vector<std::jthread> blocked;
        for (int thread = 0; thread < 2; ++thread)
            blocked.emplace_back([&traffic] { traffic.save("blocked"); });
        EventStorage {}.releaseEvents();
        ASSERT_TRUE(server.waitForRequests(3));
        const auto view = std::make_shared<UIImageView>();
        downloaded(view, server.url("/picture.png").absoluteString());
        for (int count = 0; count < 20; ++count) {
            traffic.push(std::to_string(count));
            traffic.fireGeotriggers(std::to_string(count));
        }
        ASSERT_TRUE(server.waitForRequests(6));

        const auto begin = Clock::now();
        platform.reset();
        const auto taken = Clock::now() - begin;
        std::cout << "the end took " << milliseconds(taken) << " ms\n";
        fastest = std::min(fastest, taken);
    }
    EXPECT_LT(fastest, promptly);
}

} // namespace
} // namespace kova::tests
