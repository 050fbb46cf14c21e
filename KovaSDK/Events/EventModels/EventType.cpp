#include "KovaSDK/Events/EventModels/EventType.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace kova {

namespace {

// In the order of the enumeration.
constexpr std::array<std::string_view, 27> rawValues {"button_click", "cart_add_product", "cart_remove_product",
    "cart_checkout", "cart_empty", "geofence_enter", "geofence_exit", "geotrigger_enter", "geotrigger_exit",
    "page_view", "page_open", "page_close", "page_scroll", "payment_finish", "payment_failed", "payment_dropped",
    "payment_confirmed", "notification_receive", "notification_open", "notification_dismiss", "inbox_notification_view",
    "inbox_notification_delete", "search", "session_start", "session_end", "url_from_notification_open",
    "url_from_notification_close"};

} // namespace

std::string_view rawValue(EventType type)
{
    return rawValues.at(static_cast<std::size_t>(type));
}

std::optional<EventType> eventTypeFromRawValue(std::string_view rawValue)
{
    const auto* const found = std::ranges::find(rawValues, rawValue);
    if (found == rawValues.end())
        return std::nullopt;
    return static_cast<EventType>(std::distance(rawValues.begin(), found));
}

} // namespace kova
