#include "KovaSDK/KovaSDK.h"
#include "KovaSDK/Services/Networking/KovaNetwork.h"
#include "KovaSDK/Services/Networking/KovaNetworkTracker.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Tests/Support/TestPlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>

namespace kova {
namespace {

using testing::ElementsAre;
using tests::FakeNetwork;
using tests::TestPlatform;

constexpr auto onDemand
    = kSCNetworkReachabilityFlagsTransientConnection | kSCNetworkReachabilityFlagsConnectionRequired;

TEST(ReachabilityTest, AnswersByTheFlagsReadAfreshAtEachStep)
{
    struct Row {
        SCNetworkReachabilityFlags flags;
        bool connected, wifi;
        int readsForConnected, readsForWiFi;
        KovaNetwork::Status status;
    };
    using Status = KovaNetwork::Status;
    const Row rows[] {
        {0, false, false, 1, 1, Status::unreachable},
        {kSCNetworkReachabilityFlagsIsWWAN, false, false, 1, 1, Status::unreachable},
        {FakeNetwork::wifi, true, true, 3, 2, Status::wifi},
        {FakeNetwork::wwan, true, false, 3, 2, Status::wwan},
        {FakeNetwork::wifi | onDemand, false, true, 2, 2, Status::unreachable},
        {FakeNetwork::wifi | kSCNetworkReachabilityFlagsConnectionRequired, true, true, 3, 2, Status::wifi},
        {FakeNetwork::wifi | kSCNetworkReachabilityFlagsTransientConnection, true, true, 3, 2, Status::wifi},
    };
    const TestPlatform platform;
    auto& network = *platform.network;
    const auto monitor = Reachability::create("host.example");
    KovaNetwork::setReachability(monitor);
    EXPECT_EQ(monitor->hostname, "host.example");
    (void)platform.settledLines();
    for (const auto& row : rows) {
        network.flags = row.flags;
        network.reads = 0;
        EXPECT_EQ(monitor->isConnectedToNetwork(), row.connected) << row.flags;
        EXPECT_EQ(network.reads, row.readsForConnected) << row.flags;
        network.reads = 0;
        EXPECT_EQ(monitor->isReachableViaWiFi(), row.wifi) << row.flags;
        EXPECT_EQ(network.reads, row.readsForWiFi) << row.flags;
        EXPECT_EQ(KovaNetwork::status(), row.status) << row.flags;
    }

    network.flags = FakeNetwork::wwan;
    monitor->isReachableOnWWAN = false;
    EXPECT_FALSE(monitor->isConnectedToNetwork());
    monitor->isRunningOnDevice = false;
    EXPECT_TRUE(monitor->isConnectedToNetwork()) << "cellular is not looked at then";
    EXPECT_FALSE(monitor->isReachableViaWiFi());
    EXPECT_EQ(KovaNetwork::status(), Status::unreachable);
    network.cannotBeRead = true;
    EXPECT_FALSE(monitor->isConnectedToNetwork());
    EXPECT_FALSE(monitor->isReachableViaWiFi());
}

TEST(ReachabilityTest, AnnouncesEachChangeOnce)
{
    const TestPlatform platform;
    platform.network->flags = FakeNetwork::wifi;
    std::vector<std::string> announced;
    const void* sender = nullptr;
    const auto observer = std::make_shared<int>();
    NotificationCenter::default_().addObserver(
        observer,
        [&](const Notification& posted) {
            sender = posted.object;
            announced.emplace_back(DispatchQueue::main().isCurrent() ? "main" : "background");
        },
        NotificationName::flagsChanged);
    auto monitor = Reachability::create("host.example");
    (void)platform.settledLines();
    EXPECT_THAT(announced, ElementsAre("background")) << "the first state comes on the monitor's own queue";
    EXPECT_EQ(sender, monitor.get());

    platform.network->change(FakeNetwork::wwan);
    platform.network->announce();
    platform.network->announce();
    (void)platform.settledLines();
    EXPECT_THAT(announced, ElementsAre("background", "main"));
    platform.network->cannotBeRead = true;
    platform.network->change(0);
    (void)platform.settledLines();
    EXPECT_EQ(announced.size(), 2U) << "what cannot be read is no change";

    // Released on its own queue, with a callback on its way, it stops watching.
    platform.network->cannotBeRead = false;
    const auto target = platform.network->lastTarget.lock();
    const auto queue = monitor->reachabilitySerialQueue;
    queue->async([held = std::move(monitor)]() mutable { held.reset(); });
    platform.network->change(FakeNetwork::wifi);
    (void)platform.settledLines();
    EXPECT_EQ(announced.size(), 2U);
    EXPECT_EQ(target->callback, nullptr);
    EXPECT_EQ(target->queue, nullptr);
}

TEST(KovaNetworkTrackerTest, SaysWhyItCannotWatch)
{
    TestPlatform platform;
    const auto linesAfterStart = [&] {
        platform.log.takeLines();
        (void)KovaNetworkTracker::startNetworkTracker();
        return platform.settledLines();
    };
    auto& network = *platform.network;
    const std::pair<bool FakeNetwork::*, const char*> rows[] {
        {&FakeNetwork::refusesNames, "Failed to create reachability object With host named: www.kova.example"},
        {&FakeNetwork::refusesCallback, "Failed to set callout"},
        {&FakeNetwork::refusesQueue, "Failed to set DispatchQueue"},
    };
    for (const auto& [refuses, line] : rows) {
        network.*refuses = true;
        EXPECT_THAT(linesAfterStart(), ElementsAre(std::string {"NETWORK : Network error:\n"} + line));
        network.*refuses = false;
    }
    EXPECT_EQ(KovaNetwork::reachability(), nullptr);
    EXPECT_STREQ(
        KovaNetwork::Error::failedToInitializeWith({.port = htons(80), .address = htonl(INADDR_LOOPBACK)}).what(),
        "NETWORK : Network error:\nFailed to initialize reachability object With address: 127.0.0.1:80");

    EXPECT_TRUE(linesAfterStart().empty());
    const auto first = KovaNetwork::reachability();
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->isRunning);
    network.refusesCallback = true;
    (void)linesAfterStart();
    EXPECT_EQ(KovaNetwork::reachability(), first) << "a failed start leaves the earlier monitor";
}

TEST(KovaNetworkTrackerTest, AnnouncesNothingWhileItsCallerHoldsTheMonitor)
{
    const TestPlatform platform;
    platform.network->flags = FakeNetwork::wifi;
    int announced = 0;
    const auto observer = std::make_shared<int>();
    {
        const auto suspension = KovaNetworkTracker::startNetworkTracker();
        platform.network->announce();
        EXPECT_FALSE(platform.platform.settle(std::chrono::milliseconds {100})) << "announcements wait";
        EXPECT_EQ(platform.network->reads, 0);
        NotificationCenter::default_().addObserver(
            observer, [&](const Notification&) { ++announced; }, NotificationName::flagsChanged);
    }
    (void)platform.settledLines();
    EXPECT_EQ(announced, 1);
}

TEST(KovaNetworkTrackerTest, FollowsTheNetworkFromStartUpOn)
{
    const TestPlatform platform;
    platform.network->flags = FakeNetwork::wifi;
    KovaNotify::initWithCallbacks(std::nullopt);
    EXPECT_THAT(platform.settledLines(),
        ElementsAre("NOTIFICATIONS : Initialized with callbacks", "APP ID: ", "NETWORK : Checking status",
            "NETWORK : Updating network status", "EVENT STORAGE: Entered release method",
            "NETWORK : Reachability Summary", "NETWORK : Status: wifi"))
        << "the first announcement reaches the observer that is registered after the monitor has started";

    platform.network->change(0);
    const auto lines = platform.settledLines();
    EXPECT_THAT(std::vector(lines.begin() + 7, lines.end()),
        ElementsAre("NETWORK : Checking status", "NETWORK : Updating network status", "NETWORK : Reachability Summary",
            "NETWORK : Status: unreachable"));
}

TEST(KovaNetworkTrackerDeathTest, CheckingWithoutAMonitorStopsTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const TestPlatform platform;
    EXPECT_EXIT(KovaNetworkTracker::checkNetworkStatus(), testing::KilledBySignal(SIGABRT), "start the SDK");
}

} // namespace
} // namespace kova
