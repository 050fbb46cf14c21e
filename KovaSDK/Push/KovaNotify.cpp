#include "KovaSDK/Push/KovaNotify.h"

#include "KovaSDK/KovaKeysManager.h"
#include "KovaSDK/Push/PushServices/KovaPushMetrics.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "KovaSDK/Services/Networking/KovaNetworkTracker.h"
#include "KovaSDK/Services/NotificationName.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Foundation/Print.h"

namespace kova {

namespace {

void handleReceived(const std::shared_ptr<const OSNotification>& notification)
{
    print("Notification received: :", notification ? "Optional(" + description(*notification) + ")" : "nil");
    if (!notification || !notification->payload)
        return;
    const auto& payload = *notification->payload;
    print("NOTIFICATIONS : Received Notification ID: " + description(payload.notificationID));

    const KovaPushMetrics metrics {URLSession::shared()};
    if (!payload.notificationID)
        fatalError("a received notification has no notificationID: the push vendor's adapter must set it");
    if (auto body = metrics.getJson(*payload.notificationID))
        metrics.post(*std::move(body), [](const auto&) { });

    NotificationStorage::update([record = KovaNotification {payload}](
                                    std::vector<KovaNotification>& buffer) { buffer.insert(buffer.begin(), record); });
    NotificationCenter::default_().post({.name = NotificationName::didReceivedNotification});
    NotificationStorage::read([](const auto& buffer) { print("Notification from storage :", description(buffer)); });
}

void handleOpened(const std::shared_ptr<const OSNotificationOpenedResult>& result)
{
    if (!result)
        return;
    if (!result->stringify)
        fatalError("an opened notification has no text form: the push vendor's adapter must set stringify");
    print("NOTIFICATIONS : Notification Result: " + singleLine(*result->stringify));
    if (!result->notification)
        fatalError("an opened result has no notification: the push vendor's adapter must set it");
    const auto& payload = result->notification->payload;
    if (!payload || !payload->additionalData)
        return;
    const auto action = payload->additionalData->find("actionSelected");
    // Opening by a plain tap a push that carries additional data ends here, too: contract, not to be softened.
    if (action == payload->additionalData->end())
        fatalError("an opened notification carries additional data without \"actionSelected\"");
    print("NOTIFICATIONS : Action: " + description(action->second));
}

} // namespace

void KovaNotify::initWithCallbacks(const std::optional<AnyDictionary>& launchOptions)
{
    print("NOTIFICATIONS : Initialized with callbacks");
    const auto appId = KovaKeyManager {}.get(KovaKey::notificationID);
    print("APP ID: " + singleLine(appId));

    const auto vendor = OneSignal::shared();
    vendor->initWithLaunchOptions(
        launchOptions, appId, &handleReceived, &handleOpened, AnyDictionary {{kOSSettingsKeyAutoPrompt, false}});
    constexpr int systemNotification = 2;
    vendor->setInFocusDisplayType(systemNotification);
    vendor->promptLocation();
    vendor->setLocationShared(true);
    // Held until the end of this scope: the observer of the first announcement is registered after the monitor's start.
    const auto suspension = KovaNetworkTracker::startNetworkTracker();
    NotificationCenter::default_().addObserver(&statusManager, NotificationName::flagsChanged);
}

std::any KovaNotify::initWith(const std::optional<AnyDictionary>& launchOptions,
    OSHandleNotificationAction handleNotificationAction, const std::optional<AnyDictionary>& settings)
{
    return OneSignal::shared()->initWithLaunchOptions(
        launchOptions, KovaKeyManager {}.get(KovaKey::notificationID), std::move(handleNotificationAction), settings);
}

void KovaNotify::statusManager(const Notification&)
{
    print("NETWORK : Checking status");
    KovaNetworkTracker::checkNetworkStatus();
}

void KovaNotify::promptForPushNotifications(OSUserResponse userResponse)
{
    OneSignal::shared()->promptForPushNotificationsWithUserResponse(std::move(userResponse));
}

void KovaNotify::sendTag(const std::optional<std::string>& key, const std::optional<std::string>& value)
{
    OneSignal::shared()->sendTag(key, value);
}

std::optional<std::string> KovaNotify::getPlayerID()
{
    const auto state = OneSignal::shared()->getPermissionSubscriptionState();
    if (!state)
        return std::nullopt;
    if (!state->subscriptionStatus)
        fatalError("the push vendor's state has no subscriptionStatus: its adapter must set it");
    return state->subscriptionStatus->userId;
}

void KovaNotify::didReceiveNotificationExtensionRequest(const std::shared_ptr<const UNNotificationRequest>& request,
    const std::shared_ptr<UNMutableNotificationContent>& content)
{
    OneSignal::shared()->didReceiveNotificationExtensionRequest(request, content);
}

void KovaNotify::serviceExtensionTimeWillExpireRequest(const std::shared_ptr<const UNNotificationRequest>& request,
    const std::shared_ptr<UNMutableNotificationContent>& content)
{
    OneSignal::shared()->serviceExtensionTimeWillExpireRequest(request, content);
}

} // namespace kova
