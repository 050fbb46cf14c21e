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
    constexpr int flapsPerRound = 50;
    const int rounds = loadCount(2, 20);
    const NetworkNamespace network;
    const auto reachability = std::make_shared<NetworkReachabilityLinux>(
        NetworkReachabilityLinux::Options {.sysfsRoot = network.sysfsRoot()});
    const TemporaryFolder folder;
    const auto vendor = std::make_shared<RecordingOneSignal>();
    OneSignal::setShared(vendor);
    PrintCapture log;
    {
        const LinuxPlatform platform {{.bundleIdentifier = "example.test",
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
        for (int round = 0; round < rounds; ++round) {
            const bool endsUp = round % 2 == 1;
            ASSERT_TRUE(platform.settle(10s));
            (void)log.takeLines();
            // The first round fills what is filled once.
            before = round == 1 ? ProcessResources::now() : before;
            std::string batch;
            for (int flap = 0; flap < flapsPerRound; ++flap)
                batch += endsUp ? up + (flap + 1 < flapsPerRound ? down : "")
                                : down + (flap + 1 < flapsPerRound ? up : "");
            network.runBatch(batch);
            ASSERT_TRUE(log.waitForLast(heading, heading + (endsUp ? "wifi" : "unreachable"))) << round;
            ASSERT_TRUE(platform.settle(10s));
            const auto lines = log.lines();
            announced += std::ranges::count(lines, "NETWORK : Checking status");
            EXPECT_EQ(rawValue(KovaNetwork::status()), endsUp ? "wifi" : "unreachable");
        }
        const auto after = ProcessResources::afterReturningTo(before);
        std::cout << rounds * flapsPerRound << " flaps, " << announced << " announced; " << before << ", then " << after
                  << "\n";
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
