// The push vendor, played: raw payloads go in, the SDK's handlers are called on the main queue, as the vendor does it.
//
// Threads: any.

#pragma once

#include "Platform/Vendors/OneSignal.h"

#include <mutex>

namespace kova::host {

class SimulatedOneSignal final : public OneSignal {
public:
    /// A push arrives. One without an id, or before the SDK was started with a received handler, reaches nobody;
    /// nothing is deduplicated.
    void receive(const Value::Dictionary& rawPayload);

    /// The user opens a push by a tap, or by pressing the button with this id, which then stands as "actionSelected" in
    /// the additional data.
    void open(const Value::Dictionary& rawPayload, const std::optional<std::string>& action);

    /// What the user will answer when asked for push permission.
    void setAnswerToPrompt(bool accepted);

    /// The device's subscription id, or none.
    void setUserId(std::optional<std::string> userId);

    std::any initWithLaunchOptions(const std::optional<AnyDictionary>& launchOptions, const std::string& appId,
        OSHandleNotificationReceived handleNotificationReceived, OSHandleNotificationAction handleNotificationAction,
        const std::optional<AnyDictionary>& settings) override;
    std::any initWithLaunchOptions(const std::optional<AnyDictionary>& launchOptions, const std::string& appId,
        OSHandleNotificationAction handleNotificationAction, const std::optional<AnyDictionary>& settings) override;
    void setInFocusDisplayType(int displayType) override;
    void promptLocation() override;
    void setLocationShared(bool isShared) override;
    void promptForPushNotificationsWithUserResponse(OSUserResponse userResponse) override;
    void sendTag(const std::optional<std::string>& key, const std::optional<std::string>& value) override;
    [[nodiscard]] std::shared_ptr<const OSPermissionSubscriptionState> getPermissionSubscriptionState() override;
    std::shared_ptr<UNMutableNotificationContent> didReceiveNotificationExtensionRequest(
        const std::shared_ptr<const UNNotificationRequest>& request,
        const std::shared_ptr<UNMutableNotificationContent>& content) override;
    std::shared_ptr<UNMutableNotificationContent> serviceExtensionTimeWillExpireRequest(
        const std::shared_ptr<const UNNotificationRequest>& request,
        const std::shared_ptr<UNMutableNotificationContent>& content) override;

    /// The tags sent so far: a key with no value stands for a removed tag.
    [[nodiscard]] Value::Dictionary tags() const;

private:
    mutable std::mutex m_mutex;
    OSHandleNotificationReceived m_received;
    OSHandleNotificationAction m_opened;
    std::shared_ptr<const OSSubscriptionState> m_subscription = std::make_shared<OSSubscriptionState>();
    Value::Dictionary m_tags;
    bool m_answerToPrompt = false;
};

} // namespace kova::host
