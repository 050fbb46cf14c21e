// Your push vendor behind the SDK's interface.

#pragma once

#include <KovaSDK/KovaSDK.h>

class MyPushVendor final : public kova::OneSignal {
public:
    std::any initWithLaunchOptions(const std::optional<kova::AnyDictionary>& launchOptions, const std::string& appId,
        kova::OSHandleNotificationReceived handleNotificationReceived,
        kova::OSHandleNotificationAction handleNotificationAction,
        const std::optional<kova::AnyDictionary>& settings) override;
    std::any initWithLaunchOptions(const std::optional<kova::AnyDictionary>& launchOptions, const std::string& appId,
        kova::OSHandleNotificationAction handleNotificationAction,
        const std::optional<kova::AnyDictionary>& settings) override;
    void setInFocusDisplayType(int displayType) override;
    void promptLocation() override;
    void setLocationShared(bool isShared) override;
    void promptForPushNotificationsWithUserResponse(kova::OSUserResponse userResponse) override;
    void sendTag(const std::optional<std::string>& key, const std::optional<std::string>& value) override;
    [[nodiscard]] std::shared_ptr<const kova::OSPermissionSubscriptionState> getPermissionSubscriptionState() override;
    std::shared_ptr<kova::UNMutableNotificationContent> didReceiveNotificationExtensionRequest(
        const std::shared_ptr<const kova::UNNotificationRequest>& request,
        const std::shared_ptr<kova::UNMutableNotificationContent>& content) override;
    std::shared_ptr<kova::UNMutableNotificationContent> serviceExtensionTimeWillExpireRequest(
        const std::shared_ptr<const kova::UNNotificationRequest>& request,
        const std::shared_ptr<kova::UNMutableNotificationContent>& content) override;
};
