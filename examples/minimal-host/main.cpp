// The smallest host: a console program that gets one push, saves one event and ends.

#include <KovaSDK/KovaSDK.h>

#include <chrono>
#include <iostream>

namespace {

/// Stands where your push vendor's adapter will (see ../my-vendor): it delivers one push as soon as it is started.
class OnePush : public kova::OneSignal {
    using Launch = const std::optional<kova::AnyDictionary>&;
    using Content = std::shared_ptr<kova::UNMutableNotificationContent>;
    using Request = const std::shared_ptr<const kova::UNNotificationRequest>&;

    std::any initWithLaunchOptions(Launch, const std::string&, kova::OSHandleNotificationReceived received,
        kova::OSHandleNotificationAction, Launch) override
    {
        kova::OSNotificationPayload payload {.notificationID = "push-1", .title = "Padaria", .body = "O pão saiu!"};
        const auto notification = std::make_shared<kova::OSNotification>(
            kova::OSNotification {.payload = std::make_shared<kova::OSNotificationPayload>(std::move(payload))});
        kova::DispatchQueue::main().async([received, notification] { received(notification); });
        return {};
    }
    std::any initWithLaunchOptions(Launch, const std::string&, kova::OSHandleNotificationAction, Launch) override
    {
        return {};
    }
    void setInFocusDisplayType(int) override { }
    void promptLocation() override { }
    void setLocationShared(bool) override { }
    void promptForPushNotificationsWithUserResponse(kova::OSUserResponse) override { }
    void sendTag(const std::optional<std::string>&, const std::optional<std::string>&) override { }
    std::shared_ptr<const kova::OSPermissionSubscriptionState> getPermissionSubscriptionState() override { return {}; }
    Content didReceiveNotificationExtensionRequest(Request, const Content& content) override { return content; }
    Content serviceExtensionTimeWillExpireRequest(Request, const Content& content) override { return content; }
};

} // namespace

int main()
{
    const kova::LinuxPlatform platform {{.bundleIdentifier = "example.minimal"}};
    kova::OneSignal::setShared(std::make_shared<OnePush>());
    kova::NotificationCenter::default_().addObserver(
        [](const kova::Notification&) { std::cout << "host: there is a new entry in the inbox" << std::endl; },
        kova::NotificationName::didReceivedNotification);
    kova::KovaNotify::initWithCallbacks(std::nullopt);

    kova::CartEvent event {kova::EventType::cartAddProduct};
    event.userId = "ana";
    event.start("pão");
    event.save(); // waits for the reply; without one the event is kept on disk until the network is back

    return platform.settle(std::chrono::seconds {30}) ? 0 : 1;
}
