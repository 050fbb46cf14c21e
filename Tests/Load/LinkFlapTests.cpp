// A link that flaps without end, seen by the whole SDK in a network of the test's own.

#include "KovaSDK/KovaSDK.h"
#include "KovaSDK/Services/Networking/KovaNetwork.h"
#include "Platform/Linux/NetworkReachabilityLinux.h"
#include "Tests/Support/LoadSize.h"
#include "Tests/Support/NetworkNamespace.h"
#include "Tests/Support/ProcessResources.h"
#include "Tests/Support/TestPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <string>

namespace kova::tests {
namespace {

using namespace std::chrono_literals;

const std::string heading = "NETWORK : Status: ";

TEST(LinkFlapTest, TheStatusFollowsAndTheLastOneIsRight)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    struct Phase {
        int rounds;
        int flapsPerRound;
    };
    // So fast that they are told as one change, and one by one.
    const Phase phases[] {{loadCount(2, 20), 50}, {loadCount(10, 500), 1}};
    const NetworkNamespace network;
    const auto reachability = std::make_shared<NetworkReachabilityLinux>(
        NetworkReachabilityLinux::Options {.sysfsRoot = network.sysfsRoot()});
    const TemporaryFolder folder;
    const auto vendor = std::make_shared<RecordingOneSignal>();
    OneSignal::setShared(vendor);
    PrintCapture log;
    {
        const DevicePlatform platform {{.bundleIdentifier = "example.test",
            .bundleFolder = folder.path(),
            .dataFolder = folder.path(),
            .reachability = reachability}};
        KovaNotify::initWithCallbacks(std::nullopt);
        network.connect();
        ASSERT_TRUE(log.waitForLast(heading, heading + "wifi"));
        const std::string down = "link set eth0 down\n";
        const std::string up = "link set eth0 up\nroute add default via 10.9.0.2\n";
        ProcessResources before;
        long announced = 0;
        int flaps = 0;
        bool isUp = true;
        for (const auto& [rounds, flapsPerRound] : phases) {
            for (int round = 0; round < rounds; ++round) {
                isUp = !isUp;
                ASSERT_TRUE(platform.settle(10s));
                (void)log.takeLines();
                // The first round fills what is filled once.
                before = flaps == flapsPerRound ? ProcessResources::now() : before;
                std::string batch = isUp ? up : down;
                for (int flap = 1; flap < flapsPerRound; ++flap)
                    batch += isUp ? down + up : up + down;
                flaps += flapsPerRound;
                network.runBatch(batch);
                ASSERT_TRUE(log.waitForLast(heading, heading + (isUp ? "wifi" : "unreachable"))) << flaps;
                ASSERT_TRUE(platform.settle(10s));
                EXPECT_EQ(rawValue(KovaNetwork::status()), isUp ? "wifi" : "unreachable");
                announced += std::ranges::count(log.lines(), "NETWORK : Checking status");
            }
        }
        const auto after = ProcessResources::afterReturningTo(before);
        std::cout << flaps << " flaps, " << announced << " announced; " << before << ", then " << after << "\n";
        EXPECT_EQ(after.fileDescriptors, before.fileDescriptors);
        EXPECT_EQ(after.threads, before.threads);
        EXPECT_TRUE(!memoryTells || after.residentBytes < before.residentBytes + 1'024UL * 1'024UL);
        reachability->end();
    }
    KovaNetwork::setReachability(nullptr);
    OneSignal::setShared(nullptr);
}

} // namespace
} // namespace kova::tests
