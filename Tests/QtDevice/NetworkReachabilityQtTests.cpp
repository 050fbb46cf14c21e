// Reachability with Qt: what the system's network service announces, and what the interfaces say without one.

#include "Platform/QtDevice/NetworkReachabilityQt.h"
#include "Tests/QtDevice/NetworkManager.h"
#include "Tests/Support/Gate.h"
#include "Tests/Support/NetworkNamespace.h"
#include "Tests/Support/ReachabilityListener.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>

namespace kova::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Device = NetworkManager::Device;
using State = NetworkManager::State;

constexpr auto host = "www.kova.example";
constexpr auto reachable = kSCNetworkReachabilityFlagsReachable;
constexpr auto cellular = kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsIsWWAN;

void runEventLoop()
{
    QCoreApplication::processEvents();
}

/// Ends the threads of the queues, as a platform object would.
class NetworkReachabilityQtTest : public testing::Test {
protected:
    void TearDown() override
    {
        DispatchQueue::shutDownAll();
        DispatchQueue::acceptTasks();
    }
};

class NetworkManagerTest : public NetworkReachabilityQtTest {
protected:
    void SetUp() override
    {
        if (networkManager()->errors().contains("ModuleNotFoundError"))
            GTEST_SKIP() << "the service cannot be played: python3-dbusmock is missing";
        ASSERT_TRUE(networkManager()->runs()) << networkManager()->errors();
        // The backend outlives each service under test, so it has heard of the last change of the test before.
        set(Device::Ethernet);
        set(State::Disconnected);
        NetworkReachabilityQt service;
        const auto target = service.createWithName(host);
        ASSERT_TRUE(comesTrue([&] {
            runEventLoop();
            return target->flags() == 0U;
        }));
    }

    template <typename Change> void set(Change change) { networkManager()->set(change); }
};

TEST_F(NetworkManagerTest, FollowsStateAndDevice)
{
    NetworkReachabilityQt service;
    ReachabilityListener listener {service, host, runEventLoop};
    ReachabilityListener ownMachine {service, "localhost", runEventLoop};
    ASSERT_EQ(listener.target().flags(), 0U);

    struct Step {
        const char* description;
        std::function<void()> change;
        SCNetworkReachabilityFlags expected;
    };
    const std::vector<Step> steps {
        {"connected", [&] { set(State::Global); }, reachable},
        {"over a modem", [&] { set(Device::Modem); }, cellular},
        {"a link without a default route", [&] { set(State::Local); }, 0},
        {"a default route, and nothing known beyond", [&] { set(State::Site); }, cellular},
        {"by wire", [&] { set(Device::Ethernet); }, reachable},
        {"disconnected", [&] { set(State::Disconnected); }, 0},
    };
    std::vector<SCNetworkReachabilityFlags> expected;
    for (const auto& step : steps) {
        SCOPED_TRACE(step.description);
        step.change();
        ASSERT_EQ(listener.next(), step.expected);
        EXPECT_EQ(listener.target().flags(), step.expected);
        expected.push_back(step.expected);
    }
    EXPECT_EQ(listener.all(), expected) << "something was told more than once";
    EXPECT_EQ(ownMachine.target().flags(), reachable);
    EXPECT_THAT(ownMachine.all(), IsEmpty());
}

TEST_F(NetworkManagerTest, TellsNobodyWhoIsNoLongerInstalled)
{
    NetworkReachabilityQt service;
    ReachabilityListener withoutCallback {service, host};
    ReachabilityListener withoutQueue {service, host};
    ReachabilityListener afterwards {service, host, runEventLoop};
    // The calls of the first two wait on their queues while they are removed.
    Gate gate;
    for (auto* listener : {&withoutCallback, &withoutQueue})
        listener->queue().async([&gate] { gate.enter({}); });
    set(State::Global);
    // Targets are told in the order in which they were made.
    ASSERT_EQ(afterwards.next(), reachable);
    withoutCallback.target().setCallback(nullptr, {});
    withoutQueue.target().setDispatchQueue(nullptr);
    gate.open();
    set(State::Disconnected);
    ASSERT_EQ(afterwards.next(), 0U);
    EXPECT_THAT(withoutCallback.all(), IsEmpty());
    EXPECT_THAT(withoutQueue.all(), IsEmpty());
}

TEST_F(NetworkManagerTest, TargetsOutliveTheServiceAndAreToldNothing)
{
    NetworkReachabilityQt other;
    ReachabilityListener afterwards {other, host, runEventLoop};
    auto service = std::make_unique<NetworkReachabilityQt>();
    ReachabilityListener ended {*service, host};
    service->end();
    service.reset();
    set(State::Global);
    ASSERT_EQ(afterwards.next(), reachable);
    EXPECT_THAT(ended.all(), IsEmpty());
    EXPECT_TRUE(ended.target().flags());
}

TEST_F(NetworkReachabilityQtTest, ReadsInterfacesWithoutAService)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    NetworkNamespace network;
    NetworkReachabilityQt service;
    ReachabilityListener listener {service, host};
    ReachabilityListener ownMachine {service, "127.0.0.1"};
    ASSERT_EQ(listener.target().flags(), 0U);

    struct Step {
        const char* description;
        std::vector<const char*> commands;
        SCNetworkReachabilityFlags expected;
    };
    const std::vector<Step> steps {
        {"link up", {"ip link set peer0 up", "ip link set eth0 up"}, reachable},
        {"carrier lost", {"ip link set peer0 down"}, 0},
        {"carrier back", {"ip link set peer0 up"}, reachable},
        {"only a link-local address left", {"ip address del 10.9.0.1/24 dev eth0"}, 0},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.description);
        for (const auto* command : step.commands)
            network.run(command);
        ASSERT_EQ(listener.next(), step.expected);
        EXPECT_EQ(listener.target().flags(), step.expected);
    }
    EXPECT_EQ(ownMachine.target().flags(), reachable);
    service.end();
    network.run("ip address add 10.9.0.1/24 dev eth0");
    EXPECT_EQ(listener.target().flags(), reachable);
    EXPECT_THAT(listener.all(), ElementsAre(reachable, 0U, reachable, 0U));
}

} // namespace
} // namespace kova::tests
