// A notification was received, opened or dismissed.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"

namespace kova {

class NotificationEvent final : public Event {
public:
    /// Takes any type; one of another kind of event is sent as it is.
    explicit NotificationEvent(EventType given)
        : Event("USER_ID", rawValue(given))
        , type(given)
    {
    }

    /// Adds attribute "id" = text whatever the type, then "received", "openned" (spelled so) or "dismissed" = "true" by
    /// the type.
    void start(const std::string& with) override;

    EventType type;
};

} // namespace kova
