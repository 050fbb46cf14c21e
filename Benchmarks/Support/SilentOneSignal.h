// A push vendor that does nothing but remember the handler of received pushes.

#pragma once

#include "Platform/Vendors/OneSignal.h"

#include <utility>

namespace kova::benchmarks {

class SilentOneSignal final : public OneSignal {
public:
    OSHandleNotificationReceived received;

    std::any initWithLaunchOptions(const std::optional<AnyDictionary>&, const std::string&,
        OSHandleNotificationReceived handleReceived, OSHandleNotificationAction,
        const std::optional<AnyDictionary>&) override
    {
        received = std::move(handleReceived);
        return {};
    }
    std::any initWithLaunchOptions(const std::optional<AnyDictionary>&, const std::string&, OSHandleNotificationAction,
        const std::optional<AnyDictionary>&) override
    {
        return {};
    }
    void setInFocusDisplayType(int) override { }
    void promptLocation() override { }
    void setLocationShared(bool) override { }
    void promptForPushNotificationsWithUserResponse(OSUserResponse) override { }
    void sendTag(const std::optional<std::string>&, const std::optional<std::string>&) override { }
    std::shared_ptr<const OSPermissionSubscriptionState> getPermissionSubscriptionState() override { return nullptr; }
    std::shared_ptr<UNMutableNotificationContent> didReceiveNotificationExtensionRequest(
        const std::shared_ptr<const UNNotificationRequest>&,
        const std::shared_ptr<UNMutableNotificationContent>& content) override
    {
        return content;
    }
    std::shared_ptr<UNMutableNotificationContent> serviceExtensionTimeWillExpireRequest(
        const std::shared_ptr<const UNNotificationRequest>&,
        const std::shared_ptr<UNMutableNotificationContent>& content) override
    {
        return content;
    }
};

/// A push as the vendor hands it over, with texts of the usual length.
[[nodiscard]] inline std::shared_ptr<const OSNotification> samplePush(int number)
{
    auto payload = std::make_shared<OSNotificationPayload>();
    payload->notificationID = "8c67ea65-eb65-4d1b-97e4-" + std::to_string(number);
    payload->title = "Promoção " + std::to_string(number);
    payload->body = "Olá! Você ganhou 20% de desconto em pães e cafés até domingo";
    payload->launchURL = "https://example.com/p/" + std::to_string(number);
    payload->rawPayload.emplace();
    return std::make_shared<OSNotification>(OSNotification {.payload = std::move(payload)});
}

} // namespace kova::benchmarks
