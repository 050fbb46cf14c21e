// The smallest host: a console program that gets one push, saves one event and ends.

#include <KovaSDK/KovaSDK.h>

#include <chrono>
#include <iostream>

using namespace kova;

/// Stands where your push vendor's adapter will (see ../my-vendor): it delivers one push as soon as it is started.
class OnePush : public OneSignal {
    using Launch = const std::optional<AnyDictionary>&;
    using Content = std::shared_ptr<UNMutableNotificationContent>;
    using Request = const std::shared_ptr<const UNNotificationRequest>&;

    std::any initWithLaunchOptions(
        Launch, const std::string&, OSHandleNotificationReceived received, OSHandleNotificationAction, Launch) override
    {
        auto payload = std::make_shared<OSNotificationPayload>(OSNotificationPayload {
            .notificationID = "push-1", .title = "Padaria", .body = "O pão saiu!", .rawPayload = {{}}});
        const auto notification = std::make_shared<OSNotification>(OSNotification {.payload = std::move(payload)});
        DispatchQueue::main().async([received, notification] { received(notification); });
        return {};
    }
    std::any initWithLaunchOptions(Launch, const std::string&, OSHandleNotificationAction, Launch) override
    {
        return {};
    }
    void setInFocusDisplayType(int) override { }
    void promptLocation() override { }
    void setLocationShared(bool) override { }
    void promptForPushNotificationsWithUserResponse(OSUserResponse) override { }
    void sendTag(const std::optional<std::string>&, const std::optional<std::string>&) override { }
    std::shared_ptr<const OSPermissionSubscriptionState> getPermissionSubscriptionState() override
    {
        auto state = std::make_shared<OSPermissionSubscriptionState>();
        state->subscriptionStatus = std::make_shared<OSSubscriptionState>();
        return state;
    }
    Content didReceiveNotificationExtensionRequest(Request, const Content& content) override { return content; }
    Content serviceExtensionTimeWillExpireRequest(Request, const Content& content) override { return content; }
};

int main()
{
    const LinuxPlatform platform {{.bundleIdentifier = "example.minimal"}};
    OneSignal::setShared(std::make_shared<OnePush>());
    NotificationCenter::default_().addObserver(
        [](const Notification&) { std::cout << "host: there is a new entry in the inbox" << std::endl; },
        NotificationName::didReceivedNotification);
    KovaNotify::initWithCallbacks(std::nullopt);

    CartEvent event {EventType::cartAddProduct};
    event.userId = "ana";
    event.start("pão");
    event.save(); // waits for the reply; without one the event is kept on disk until the network is back

    return platform.settle(std::chrono::seconds {30}) ? 0 : 1;
}
