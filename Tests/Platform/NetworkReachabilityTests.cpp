// Reachability on Linux: what is asked about names, and what real links and routes do to the flags.
//
// The tests with links run in a network namespace of their own: each starts itself anew inside one.

#include "Platform/Linux/NetworkReachabilityLinux.h"
#include "Tests/Support/Gate.h"
#include "Tests/Support/NameServer.h"
#include "Tests/Support/NetworkNamespace.h"
#include "Tests/Support/ReachabilityListener.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace kova::tests {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto reachable = kSCNetworkReachabilityFlagsReachable;
constexpr auto bound = 10s;

TEST(NetworkReachabilityTest, AsksNobodyForReservedNames)
{
    NameServer nameServer;
    NetworkReachabilityLinux service {{.nameServers = nameServer.address()}};
    std::vector<std::shared_ptr<SCNetworkReachability>> targets;
    for (const auto* name : {"www.kova.example", "example", "kova.invalid", "KOVA.Test.", "localhost", "db.localhost",
             "127.0.0.1", "::1", "asked.kova.net."})
        targets.push_back(service.createWithName(name));
    // Names are looked up in the order of their targets, so the first question shows what was not asked before.
    EXPECT_EQ(nameServer.waitForQuestion(bound), "asked.kova.net");
}

TEST(NetworkReachabilityTest, NeitherReadsNorTheEndWaitForASilentNameServer)
{
    NameServer nameServer;
    NetworkReachabilityLinux service {{.nameServers = nameServer.address()}};
    const auto target = service.createWithName("www.kova.net.");
    ASSERT_TRUE(nameServer.waitForQuestion(bound));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(target->flags());
    service.end();
    // The resolver's own patience is five seconds; the bound leaves room for a busy machine.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms);
    EXPECT_TRUE(target->flags());
}

TEST(NetworkReachabilityTest, TargetsOutliveTheService)
{
    auto service = std::make_unique<NetworkReachabilityLinux>();
    const auto target = service->createWithName("127.0.0.1");
    const auto before = target->flags();
    ASSERT_TRUE(before);
    service.reset();
    EXPECT_EQ(target->flags(), before);
    EXPECT_TRUE(target->setCallback([](auto&, auto, const auto&) { }, {}));
    EXPECT_TRUE(target->setDispatchQueue(DispatchQueue::create("late")));
}

/// Ends the threads of the queues, as a platform object would.
class NetworkReachabilityLinksTest : public testing::Test {
protected:
    void TearDown() override
    {
        DispatchQueue::shutDownAll();
        DispatchQueue::acceptTasks();
    }
};

constexpr auto documentationHost = "www.kova.example";

TEST_F(NetworkReachabilityLinksTest, FollowsLinksRoutesAndCarrier)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    NetworkNamespace network;
    NetworkReachabilityLinux service {{.sysfsRoot = network.sysfsRoot()}};
    ReachabilityListener listener {service, documentationHost};
    ASSERT_EQ(listener.target().flags(), 0U);

    struct Step {
        const char* description;
        std::vector<const char*> commands;
        SCNetworkReachabilityFlags expected;
    };
    // Addresses that the kernel makes by itself would announce what a step does not.
    network.run("ip link set eth0 addrgenmode none");
    network.run("ip link set peer0 addrgenmode none");
    const std::vector<Step> steps {
        {"link with default route",
            {"ip link set eth0 up", "ip link set peer0 up", "ip route add default via 10.9.0.2"}, reachable},
        {"default route gone", {"ip route del default"}, 0},
        {"default route back", {"ip route add default via 10.9.0.2"}, reachable},
        {"carrier lost", {"ip link set peer0 down"}, 0},
        {"carrier back", {"ip link set peer0 up"}, reachable},
        {"link down, which takes the route along", {"ip link set eth0 down"}, 0},
        {"link up with route", {"ip link set eth0 up", "ip route add default via 10.9.0.2"}, reachable},
        {"prohibited", {"ip route replace prohibit default"}, 0},
        {"by way of a next-hop object",
            {"ip route del prohibit default", "ip nexthop add id 5 via 10.9.0.2 dev eth0",
                "ip route add default nhid 5"},
            reachable},
        {"next-hop object removed, which takes the route along", {"ip nexthop del id 5"}, 0},
        {"over IPv6 alone",
            {"ip address add 2001:db8:9::1/64 dev eth0 nodad", "ip -6 route add default via 2001:db8:9::2"}, reachable},
        {"link removed", {"ip link del eth0"}, 0},
    };
    std::vector<SCNetworkReachabilityFlags> expected;
    for (const auto& step : steps) {
        SCOPED_TRACE(step.description);
        for (const auto* command : step.commands)
            network.run(command);
        ASSERT_EQ(listener.next(), step.expected);
        EXPECT_EQ(listener.target().flags(), step.expected);
        expected.push_back(step.expected);
    }
    service.end();
    EXPECT_EQ(listener.all(), expected) << "something was told more than once";
}

TEST_F(NetworkReachabilityLinksTest, TellsABurstOnce)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    NetworkNamespace network;
    network.connect();
    NetworkReachabilityLinux service {{.sysfsRoot = network.sysfsRoot()}};
    ReachabilityListener listener {service, documentationHost};
    std::string batch;
    for (int host = 10; host < 210; ++host)
        batch += "address add 10.9.0." + std::to_string(host) + "/24 dev eth0\n";
    // The route comes and goes within the burst, and at its end it is gone.
    batch += "route del default\nroute add default via 10.9.0.2\nroute del default\n";
    network.runBatch(batch);
    EXPECT_EQ(listener.next(), 0U);
    network.run("ip route add default via 10.9.0.2");
    EXPECT_EQ(listener.next(), reachable);
    service.end();
    EXPECT_THAT(listener.all(), ElementsAre(0U, reachable));
}

TEST_F(NetworkReachabilityLinksTest, TellsNobodyWhoIsNoLongerInstalled)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    NetworkNamespace network;
    network.connect();
    NetworkReachabilityLinux service {{.sysfsRoot = network.sysfsRoot()}};
    ReachabilityListener withoutCallback {service, documentationHost};
    ReachabilityListener withoutQueue {service, documentationHost};
    ReachabilityListener released {service, documentationHost};
    ReachabilityListener afterwards {service, documentationHost};
    // The calls of the first three wait on their queues while they are removed.
    Gate gate;
    for (auto* listener : {&withoutCallback, &withoutQueue, &released})
        listener->queue().async([&gate] { gate.enter({}); });
    network.run("ip route del default");
    // Targets are told in the order in which they were made.
    ASSERT_EQ(afterwards.next(), 0U);
    withoutCallback.target().setCallback(nullptr, {});
    withoutQueue.target().setDispatchQueue(nullptr);
    released.queue().async([target = released.release()]() mutable { target.reset(); });
    gate.open();
    network.run("ip route add default via 10.9.0.2");
    ASSERT_EQ(afterwards.next(), reachable);
    service.end();
    EXPECT_THAT(withoutCallback.all(), IsEmpty());
    EXPECT_THAT(withoutQueue.all(), IsEmpty());
    // Its call was submitted before the release, so it came first.
    EXPECT_THAT(released.all(), ElementsAre(0U));
}

TEST_F(NetworkReachabilityLinksTest, UsesTheRouteToTheHostOnceItsNameIsResolved)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    NetworkNamespace network;
    network.connect();
    network.run("ip route add unreachable 198.51.100.0/24");
    NameServer nameServer;
    NetworkReachabilityLinux service {{.sysfsRoot = network.sysfsRoot(), .nameServers = nameServer.address()}};
    ReachabilityListener listener {service, "www.kova.net."};
    ASSERT_EQ(listener.target().flags(), reachable) << "until it is resolved, the default route answers";

    nameServer.answer("198.51.100.7");
    EXPECT_EQ(listener.next(), 0U);
    // The network changes, so the name is asked for again, and has moved.
    nameServer.answer("10.9.0.2");
    network.run("ip address add 10.9.0.50/24 dev eth0");
    EXPECT_EQ(listener.next(), reachable);
    EXPECT_EQ(listener.target().flags(), reachable);
    service.end();
}

TEST_F(NetworkReachabilityLinksTest, ManyThreadsReadWhileLinksComeAndGo)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    NetworkNamespace network;
    network.connect();
    NetworkReachabilityLinux service {{.sysfsRoot = network.sysfsRoot()}};
    ReachabilityListener listener {service, documentationHost};
    std::atomic<int> withoutAnswer = 0;
    std::atomic<bool> isOver = false;
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 2; ++reader) {
        readers.emplace_back([&] {
            while (!isOver) {
                const auto passing = service.createWithName(documentationHost);
                passing->setCallback([](auto&, auto, const auto&) { }, {});
                passing->setDispatchQueue(DispatchQueue::create("passing"));
                withoutAnswer += passing->flags() && listener.target().flags() ? 0 : 1;
            }
        });
    }
    for (int round = 0; round < 20; ++round) {
        network.run("ip link set eth0 down");
        network.run("ip link set eth0 up");
    }
    network.run("ip link add other0 type veth peer name other1");
    network.run("ip link del other0");
    isOver = true;
    for (auto& reader : readers)
        reader.join();
    EXPECT_EQ(withoutAnswer, 0);
    // What the cache holds in the end is true.
    EXPECT_EQ(listener.target().flags(), 0U);
    network.run("ip route add default via 10.9.0.2");
    EXPECT_EQ(listener.target().flags(), reachable);
}

} // namespace
} // namespace kova::tests
