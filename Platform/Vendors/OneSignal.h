// The push vendor, as the SDK sees it: an adapter interface.
//
// A host on a real device implements it over its vendor's framework, in about one line an operation, and installs it
// with OneSignal::setShared() before it starts the SDK; the reference host has a simulated one. Threads: the SDK calls
// from any thread. The vendor calls the handlers on the main queue.

#pragma once

#include "Platform/Foundation/AnyHashable.h"
#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/UserNotifications.h"
#include "Platform/Foundation/Value.h"

#include <any>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kova {

/// One push as the vendor decoded it. An absent field is none, never an empty text.
struct OSNotificationPayload {
    std::optional<std::string> notificationID {};
    std::optional<std::string> title {};
    std::optional<std::string> subtitle {};
    std::optional<std::string> body {};
    std::optional<std::string> launchURL {};
    /// The payload that reached the device.
    std::optional<Value::Dictionary> rawPayload {};
    /// What the sender attached for the application.
    std::optional<Value::Dictionary> additionalData {};
};

struct OSNotification {
    std::shared_ptr<const OSNotificationPayload> payload {};
};

/// What the user did with a notification.
struct OSNotificationOpenedResult {
    std::shared_ptr<const OSNotification> notification {};
    /// The result as compact JSON.
    std::optional<std::string> stringify {};
};

struct OSSubscriptionState {
    /// The vendor's id of this device's subscription (the player id), none before it is subscribed.
    std::optional<std::string> userId {};
};

class KOVA_EXPORT OSPermissionSubscriptionState {
public:
    virtual ~OSPermissionSubscriptionState() = default;

    std::shared_ptr<const OSSubscriptionState> subscriptionStatus;
};

/// The notification as the log shows it: <OSNotification: ID>.
KOVA_EXPORT [[nodiscard]] std::string description(const OSNotification& notification);

using OSHandleNotificationReceived = std::function<void(std::shared_ptr<const OSNotification>)>;
using OSHandleNotificationAction = std::function<void(std::shared_ptr<const OSNotificationOpenedResult>)>;
using OSUserResponse = std::function<void(bool accepted)>;

/// The setting that says whether the vendor asks for push permission when it starts; a boolean.
inline constexpr const char* kOSSettingsKeyAutoPrompt = "kOSSettingsKeyAutoPrompt";

class KOVA_EXPORT OneSignal {
public:
    virtual ~OneSignal() = default;

    /// The process-wide adapter. The process stops, saying so, when the host has installed none.
    [[nodiscard]] static std::shared_ptr<OneSignal> shared();

    /// Replaces the process-wide adapter (none is allowed) and returns the one before.
    static std::shared_ptr<OneSignal> setShared(std::shared_ptr<OneSignal> vendor);

    /// Starts the vendor with both handlers. What it returns is the vendor's own business.
    virtual std::any initWithLaunchOptions(const std::optional<AnyDictionary>& launchOptions, const std::string& appId,
        OSHandleNotificationReceived handleNotificationReceived, OSHandleNotificationAction handleNotificationAction,
        const std::optional<AnyDictionary>& settings)
        = 0;
    /// Starts the vendor without a received handler.
    virtual std::any initWithLaunchOptions(const std::optional<AnyDictionary>& launchOptions, const std::string& appId,
        OSHandleNotificationAction handleNotificationAction, const std::optional<AnyDictionary>& settings)
        = 0;

    /// How a notification that arrives while the application is in front is shown: 2 as a system notification.
    virtual void setInFocusDisplayType(int displayType) = 0;
    virtual void promptLocation() = 0;
    virtual void setLocationShared(bool isShared) = 0;
    virtual void promptForPushNotificationsWithUserResponse(OSUserResponse userResponse) = 0;
    virtual void sendTag(const std::optional<std::string>& key, const std::optional<std::string>& value) = 0;
    /// Null when the vendor knows nothing yet.
    [[nodiscard]] virtual std::shared_ptr<const OSPermissionSubscriptionState> getPermissionSubscriptionState() = 0;

    /// For a notification service extension: lets the vendor change the content (null passes as null), and returns it.
    virtual std::shared_ptr<UNMutableNotificationContent> didReceiveNotificationExtensionRequest(
        const std::shared_ptr<const UNNotificationRequest>& request,
        const std::shared_ptr<UNMutableNotificationContent>& content)
        = 0;
    /// The same when the extension's time runs out.
    virtual std::shared_ptr<UNMutableNotificationContent> serviceExtensionTimeWillExpireRequest(
        const std::shared_ptr<const UNNotificationRequest>& request,
        const std::shared_ptr<UNMutableNotificationContent>& content)
        = 0;
};

} // namespace kova
