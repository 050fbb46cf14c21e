// What a long life costs: nothing. Memory stays flat under many pushes, and what the platform takes from the system it
// gives back when it ends.

#include "KovaSDK/KovaSDK.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "KovaSDK/Services/Networking/KovaNetwork.h"
#include "Tests/Load/Traffic.h"
#include "Tests/Support/LoadSize.h"
#include "Tests/Support/ProcessResources.h"
#include "Tests/Support/TestPlatform.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <iostream>

namespace kova::tests {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t mebibyte = 1024UL * 1024UL;

TEST(MemoryTest, IsFlatUnderPushesWhenTheInboxIsEmptied)
{
    const int pushes = loadCount(1'000, 100'000);
    LoopbackServer server;
    TestPlatform platform {server.url("/v2/").absoluteString()};
    KovaNotify::initWithCallbacks(std::nullopt);
    Traffic traffic {platform.vendor};
    ProcessResources halfWay;
    for (int count = 1; count <= pushes; ++count) {
        traffic.push(std::to_string(count));
        if (count % 100 == 0) {
            ASSERT_TRUE(platform.platform.settle(60s));
            ASSERT_EQ(NotificationStorage::buffer().size(), 100U);
            NotificationStorage::setBuffer({});
            ASSERT_EQ(server.takeRequests().size(), 100U);
            (void)platform.log.takeLines();
        }
        if (count == pushes / 2)
            halfWay = ProcessResources::now();
        if (count % (pushes / 10) == 0)
            std::cout << count << " pushes: " << ProcessResources::now() << "\n";
    }
    const auto end = ProcessResources::now();
    // A slow machine posts a few metrics more at once; what grows with each push would be far beyond that.
    EXPECT_LE(end.fileDescriptors, halfWay.fileDescriptors + 16);
    EXPECT_LE(end.threads, halfWay.threads + 8);
    EXPECT_TRUE(!memoryTells || end.residentBytes < halfWay.residentBytes + mebibyte);
}

/// One life of a platform with everything in it, which ends while much is under way.
void liveOnce(const TemporaryFolder& folder, LoopbackServer& server, bool isAnswered)
{
    const auto address = server.url("/v2/").absoluteString();
    server.setDefault(isAnswered ? Reply::status(200) : Reply::never());
    const auto vendor = std::make_shared<RecordingOneSignal>();
    const auto geofencing = std::make_shared<RecordingPlotProjects>();
    OneSignal::setShared(vendor);
    PlotDebug::setShared(geofencing);
    {
        const DevicePlatform platform {{.bundleIdentifier = "example.test",
            .bundleFolder = folder.path(),
            .dataFolder = folder.path(),
            .serviceAddresses = {.eventsBaseURL = address, .metricsBaseURL = address, .geotriggersBaseURL = address}}};
        KovaNotify::initWithCallbacks(std::nullopt);
        Traffic traffic {vendor};
        for (int count = 0; count < 10; ++count) {
            traffic.push(std::to_string(count));
            traffic.fireGeotriggers(std::to_string(count));
        }
        if (isAnswered) {
            traffic.save("answered");
            EXPECT_TRUE(platform.settle(60s));
        }
        NotificationStorage::setBuffer({});
    }
    KovaNetwork::setReachability(nullptr);
    OneSignal::setShared(nullptr);
    PlotDebug::setShared(nullptr);
    (void)server.takeRequests();
}

/// Without what was freed. The memory that is resident says less after many threads: the allocator has heaps of its own
/// for as many of them as run at once, and keeps in each what was freed there.
std::size_t allocatedBytes()
{
    const auto heaps = mallinfo2();
    return heaps.uordblks + heaps.hblkhd;
}

TEST(MemoryTest, ThePlatformGivesBackWhatItTook)
{
    const TemporaryFolder folder;
    PrintCapture log;
    const int lives = loadCount(20, 50);
    ProcessResources first;
    std::size_t allocatedFirst = 0;
    for (int life = 1; life <= lives; ++life) {
        {
            LoopbackServer server;
            liveOnce(folder, server, life % 2 == 0);
        }
        // Not earlier: libraries still take what they keep for good.
        if (life == lives / 2) {
            first = ProcessResources::now();
            allocatedFirst = allocatedBytes();
        }
        (void)log.takeLines();
    }
    const auto last = ProcessResources::afterReturningTo({first.fileDescriptors, threadsAtRest});
    const auto allocatedLast = allocatedBytes();
    std::cout << "after " << lives / 2 << " lives " << first << ", " << allocatedFirst / 1'024
              << " KiB allocated, after " << lives << " " << last << ", " << allocatedLast / 1'024
              << " KiB allocated\n";
    EXPECT_EQ(last.fileDescriptors, first.fileDescriptors);
    EXPECT_EQ(last.threads, threadsAtRest) << "nothing runs after the end";
    EXPECT_TRUE(!memoryTells || allocatedLast < allocatedFirst + mebibyte / 8);
}

} // namespace
} // namespace kova::tests
