// The SDK's entry: through this class the host starts it and drives push notifications.
//
// Every operation is class-level; the host holds no object. The host installs a platform and the push vendor's adapter
// (see OneSignal::setShared) first, then calls one of the two start-up operations once, at launch. Threads: any. The
// vendor calls the handlers on the main queue.

#pragma once

#include "Platform/Foundation/AnyHashable.h"
#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Vendors/OneSignal.h"

#include <any>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kova {

class KOVA_EXPORT KovaNotify {
public:
    KovaNotify() = default;

    /// Full start-up. Every push received from then on is stored in the inbox, announced as "didReceivedNotification"
    /// on the vendor's thread, and reported with a delivery metric. Asks the vendor to prompt for location, never for
    /// push permission.
    static void initWithCallbacks(const std::optional<AnyDictionary>& launchOptions);

    /// Plain start-up: the vendor is started with the configured application id and the host's handler and settings,
    /// unchanged. No inbox, no metrics. Returns what the vendor's initialiser returns.
    static std::any initWith(const std::optional<AnyDictionary>& launchOptions,
        OSHandleNotificationAction handleNotificationAction, const std::optional<AnyDictionary>& settings);

    /// Asks the user for push permission; the handler learns whether it was given.
    static void promptForPushNotifications(OSUserResponse userResponse);

    /// Tags this device at the vendor.
    static void sendTag(const std::optional<std::string>& key, const std::optional<std::string>& value);

    /// The vendor's id of this device's subscription, none while it has none. A vendor state without a subscription
    /// status stops the process.
    [[nodiscard]] static std::optional<std::string> getPlayerID();

    /// For the host's notification service extension only: lets the vendor change the content before it is shown.
    static void didReceiveNotificationExtensionRequest(const std::shared_ptr<const UNNotificationRequest>& request,
        const std::shared_ptr<UNMutableNotificationContent>& content);
    /// The same when the extension's time runs out.
    static void serviceExtensionTimeWillExpireRequest(const std::shared_ptr<const UNNotificationRequest>& request,
        const std::shared_ptr<UNMutableNotificationContent>& content);

    /// Observes "FlagsChanged" from the full start-up on, for ever: logs, and has the tracker check the network.
    static void statusManager(const Notification& notification);
};

} // namespace kova
