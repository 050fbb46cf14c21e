// Pushes, events and geotriggers from eight threads at once, while the network comes and goes.
//
// By contract the SDK's read-modify-writes take no lock, so that entries may be lost; none may be torn, and nothing may
// race. The test is worth most under the thread sanitizer. What waits is released once at a time: overlapping releases
// may stop the process, by contract as well.

#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/KovaSDK.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
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

TEST(EightThreadsTest, PushSaveAndTriggerAtOnce)
{
    LoopbackServer server;
    TestPlatform platform {server.url("/v2/").absoluteString()};
    KovaNotify::initWithCallbacks(std::nullopt);
    platform.vendor->subscribe("player");
    Traffic traffic {platform.vendor};
    const SCNetworkReachabilityFlags networks[] {FakeNetwork::wifi, 0, FakeNetwork::wwan};

    const auto work = [&](int thread, Clock::time_point end) {
        for (int count = 0; Clock::now() < end; ++count) {
            const auto mark = std::to_string(thread) + "-" + std::to_string(count);
            switch ((thread + count) % 3) {
            case 0:
                traffic.push(mark);
                break;
            case 1:
                traffic.save(mark);
                break;
            default:
                traffic.fireGeotriggers(mark);
            }
            // The threads also do what only one of them does, now and then.
            if (thread == 0)
                platform.network->flags = networks[count / 8 % 3];
            if (thread == 1 && NotificationStorage::totalUnreadNotifications() > 50)
                NotificationStorage::setBuffer({});
        }
    };

    std::size_t requests = 0;
    std::size_t released = 0;
    for (const auto end = Clock::now() + loadTime(); Clock::now() < end;) {
        platform.network->flags = FakeNetwork::wifi;
        EventStorage {}.releaseEvents();
        {
            std::vector<std::jthread> threads;
            for (int thread = 0; thread < 8; ++thread)
                threads.emplace_back(work, thread, Clock::now() + 250ms);
        }
        ASSERT_TRUE(platform.platform.settle(60s));
        Traffic::expectWholeStore();
        const auto taken = server.takeRequests();
        Traffic::expectWhole(taken);
        requests += taken.size();
        const auto lines = platform.log.takeLines();
        released += static_cast<std::size_t>(std::ranges::count(lines, "EVENT STORAGE: removed event from buffer"));
        const auto published = std::ranges::count_if(
            lines, [](const auto& line) { return line.starts_with("EVENT SERVICE: Entered PUBLISH method for"); });
        EXPECT_EQ(std::ranges::count(lines, "statusCode 200"), published) << "every publication is acknowledged";
        EXPECT_EQ(taken.size(),
            static_cast<std::size_t>(published + traffic.pushes.exchange(0) + traffic.uploads.exchange(0)));
        platform.vendor->tags.clear();
    }
    EXPECT_GT(requests, 0U);
    std::cout << requests << " requests, of which " << released << " had waited; " << traffic.events << " events\n";
}

} // namespace
} // namespace kova::tests
