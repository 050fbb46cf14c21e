// The event types of the wire format.

#pragma once

#include "Platform/Foundation/Export.h"

#include <optional>
#include <string_view>

namespace kova {

enum class EventType {
    buttonClick,
    cartAddProduct,
    cartRemoveProduct,
    cartCheckout,
    cartEmpty,
    geofenceEnter,
    geofenceExit,
    geotriggerEnter,
    geotriggerExit,
    pageView,
    pageOpen,
    pageClose,
    pageScroll,
    paymentFinish,
    paymentFailed,
    paymentDropped,
    paymentConfirmed,
    notificationReceive,
    notificationOpen,
    notificationDismiss,
    inboxNotificationView,
    inboxNotificationDelete,
    search,
    sessionStart,
    sessionEnd,
    urlFromNotificationOpen,
    urlFromNotificationClose,
};

/// The type as it travels: "cart_add_product".
KOVA_EXPORT [[nodiscard]] std::string_view rawValue(EventType type);

/// The type of a raw value: an exact match, letter case included.
KOVA_EXPORT [[nodiscard]] std::optional<EventType> eventTypeFromRawValue(std::string_view rawValue);

} // namespace kova
