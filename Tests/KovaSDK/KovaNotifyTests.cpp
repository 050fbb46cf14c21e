#include "KovaSDK/KovaSDK.h"
#include "KovaSDK/Push/PushServices/KovaPushMetrics.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Foundation/PropertyList.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/TestPlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>

namespace kova {
namespace {

using Dictionary = Value::Dictionary;
using testing::ElementsAre;
using tests::LoopbackServer;
using tests::Reply;
using tests::TestPlatform;

std::shared_ptr<OSNotification> notification(std::optional<std::string> id, std::optional<std::string> title = {})
{
    auto payload = std::make_shared<OSNotificationPayload>();
    payload->notificationID = std::move(id);
    payload->title = std::move(title);
    payload->rawPayload.emplace();
    return std::make_shared<OSNotification>(OSNotification {.payload = std::move(payload)});
}

std::shared_ptr<OSNotificationOpenedResult> opened(std::optional<Dictionary> additionalData)
{
    auto payload = std::make_shared<OSNotificationPayload>();
    payload->additionalData = std::move(additionalData);
    auto result = std::make_shared<OSNotificationOpenedResult>();
    result->notification = std::make_shared<OSNotification>(OSNotification {.payload = std::move(payload)});
    result->stringify = "{}";
    return result;
}

TEST(KovaNotifyTest, StartsTheVendorInOrder)
{
    const TestPlatform platform;
    platform.addResource("Kova.plist", PropertyListEncoder::encode(Dictionary {{"KovaNotificationID", "app"}})->text());
    const AnyDictionary launchOptions {{"url", "a"}, {7, true}};
    KovaNotify::initWithCallbacks(launchOptions);

    const auto& vendor = *platform.vendor;
    EXPECT_THAT(vendor.calls, ElementsAre("init", "display type 2", "prompt location", "location shared"));
    EXPECT_EQ(vendor.launchOptions, launchOptions);
    EXPECT_EQ(vendor.appId, "app");
    EXPECT_EQ(vendor.settings, (AnyDictionary {{kOSSettingsKeyAutoPrompt, false}}));
    EXPECT_THAT(platform.log.lines(), ElementsAre("NOTIFICATIONS : Initialized with callbacks", "APP ID: app"));
}

TEST(KovaNotifyTest, LetsVendorAndPlatformUseTheirOwnQueuesMeanwhile)
{
    const TestPlatform platform;
    const auto queue = DispatchQueue::create("theirs");
    std::vector<int> order;
    const auto useQueue = [&] {
        const auto done = std::make_shared<std::promise<void>>();
        queue->async([&order, done] {
            order.push_back(1);
            done->set_value();
        });
        EXPECT_EQ(done->get_future().wait_for(std::chrono::seconds {10}), std::future_status::ready);
        queue->async([&order] { order.push_back(2); });
        queue->sync([&order] { order.push_back(3); });
    };
    platform.vendor->whenInitialised = useQueue;
    platform.network->whenCreated = useQueue;
    KovaNotify::initWithCallbacks(std::nullopt);
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 1, 2, 3));
}

TEST(KovaNotifyTest, PassesThePlainOperationsThrough)
{
    const TestPlatform platform;
    const AnyDictionary settings {{"anything", 1}};
    bool handled = false;
    const auto returned = KovaNotify::initWith(std::nullopt, [&](const auto&) { handled = true; }, settings);
    EXPECT_EQ(std::any_cast<std::string>(returned), "the vendor's own");
    EXPECT_EQ(platform.vendor->launchOptions, std::nullopt);
    EXPECT_EQ(platform.vendor->settings, settings);
    platform.vendor->opened(nullptr);
    EXPECT_TRUE(handled);

    bool accepted = false;
    KovaNotify::promptForPushNotifications([&](bool answer) { accepted = answer; });
    EXPECT_TRUE(accepted);
    KovaNotify::sendTag("a", std::nullopt);
    EXPECT_THAT(platform.vendor->tags,
        ElementsAre(std::pair {std::optional<std::string> {"a"}, std::optional<std::string> {}}));
    EXPECT_EQ(KovaNotify::getPlayerID(), std::nullopt) << "no state";
    platform.vendor->subscribe("player");
    EXPECT_EQ(KovaNotify::getPlayerID(), "player");
    KovaNotify::didReceiveNotificationExtensionRequest(nullptr, nullptr);
    KovaNotify::serviceExtensionTimeWillExpireRequest(nullptr, nullptr);
    EXPECT_THAT(platform.vendor->calls, ElementsAre("plain init", "prompt", "extension request", "extension expires"));
    EXPECT_TRUE(platform.log.lines().empty());
}

TEST(KovaNotifyTest, StoresReportsAndAnnouncesWhatIsReceived)
{
    LoopbackServer server;
    server.setDefault(Reply::status(500, "não \"agora\""));
    const TestPlatform platform {server.url("/v2/").absoluteString()};
    KovaNotify::initWithCallbacks(std::nullopt);

    std::vector<std::size_t> sizesWhenAnnounced;
    const auto observer = std::make_shared<int>();
    NotificationCenter::default_().addObserver(
        observer,
        [&](const Notification& posted) {
            EXPECT_EQ(posted.object, nullptr);
            EXPECT_EQ(posted.userInfo, std::nullopt);
            sizesWhenAnnounced.push_back(NotificationStorage::buffer().size());
        },
        NotificationName::didReceivedNotification);

    platform.vendor->received(notification("first", "Título"));
    platform.vendor->received(notification("second"));
    platform.vendor->received(notification("second"));
    EXPECT_THAT(sizesWhenAnnounced, ElementsAre(1, 2, 3));
    EXPECT_THAT(NotificationStorage::buffer(),
        ElementsAre(testing::Field(&KovaNotification::notificationID, "second"),
            testing::Field(&KovaNotification::notificationID, "second"),
            testing::Field(&KovaNotification::title, "Título")));

    const auto lines = platform.settledLines();
    EXPECT_EQ(std::ranges::count(lines, "ResultOptional(\"não \\\"agora\\\"\")"), 3);
    EXPECT_EQ(std::ranges::count(lines, "failure(authentication)"), 3);
    EXPECT_EQ(server.requests().size(), 3U);
}

TEST(KovaNotifyTest, IgnoresWhatCarriesNothing)
{
    const TestPlatform platform;
    KovaNotify::initWithCallbacks(std::nullopt);
    platform.vendor->received(nullptr);
    platform.vendor->received(std::make_shared<OSNotification>());
    platform.vendor->opened(nullptr);
    platform.vendor->opened(opened(std::nullopt));
    platform.vendor->opened(opened(Dictionary {{"actionSelected", "one\ntwo"}}));
    platform.vendor->opened(opened(Dictionary {{"actionSelected", Value {}}}));
    EXPECT_THAT(platform.settledLines(),
        ElementsAre("NOTIFICATIONS : Initialized with callbacks", "APP ID: ", "Notification received: : nil",
            "Notification received: : Optional(<OSNotification: no payload>)",
            "NOTIFICATIONS : Notification Result: {}", "NOTIFICATIONS : Notification Result: {}",
            "NOTIFICATIONS : Action: one\\ntwo", "NOTIFICATIONS : Notification Result: {}",
            "NOTIFICATIONS : Action: <null>"));
    EXPECT_TRUE(NotificationStorage::buffer().empty());
}

TEST(KovaNotifyDeathTest, StopsOnWhatTheVendorMustNotLeaveOut)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const TestPlatform platform;
    KovaNotify::initWithCallbacks(std::nullopt);
    const auto& vendor = *platform.vendor;
    auto withoutText = opened(std::nullopt);
    withoutText->stringify.reset();
    auto withoutNotification = opened(std::nullopt);
    withoutNotification->notification.reset();

    const auto aborts = testing::KilledBySignal(SIGABRT);
    EXPECT_EXIT(vendor.received(notification(std::nullopt)), aborts, "Fatal error: .*notificationID");
    EXPECT_EXIT(vendor.opened(withoutText), aborts, "Fatal error: .*stringify");
    EXPECT_EXIT(vendor.opened(withoutNotification), aborts, "Fatal error: .*no notification");
    EXPECT_EXIT(vendor.opened(opened(Dictionary {})), aborts, "Fatal error: .*actionSelected");
    platform.vendor->state = std::make_shared<PermissionSubscriptionState>();
    EXPECT_EXIT((void)KovaNotify::getPlayerID(), aborts, "subscriptionStatus");
    platform.vendor->state.reset();
    ServiceAddresses::setCurrent({.eventsBaseURL = {}, .metricsBaseURL = "not a URL", .geotriggersBaseURL = {}});
    EXPECT_EXIT(vendor.received(notification("a")), aborts, "Fatal error: .*not a URL");
}

TEST(KovaPushMetricsTest, HandsTheTransportsErrorOnAndPrintsNothing)
{
    const TestPlatform platform;
    const KovaPushMetrics metrics {URLSession::shared()};
    const auto body = metrics.getJson("id");
    ASSERT_TRUE(body);
    EXPECT_EQ(JSONSerialization::jsonObject(body->text())->as<Dictionary>()->size(), 3U) << "no playerId";
    EXPECT_EQ(metrics.getJson("\xFF"), std::nullopt);

    std::expected<Value, std::error_code> outcome;
    metrics.post(*body, [&](auto result) { outcome = std::move(result); });
    EXPECT_THAT(platform.settledLines(), ElementsAre("Callbacking push metrics"));
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error(), URLError::cannotConnectToHost);
}

} // namespace
} // namespace kova
