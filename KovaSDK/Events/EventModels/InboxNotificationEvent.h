// An inbox entry was viewed or deleted.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"

namespace kova {

class InboxNotificationEvent final : public Event {
public:
    /// Takes any type; one of another kind of event is sent as it is.
    explicit InboxNotificationEvent(EventType given)
        : Event("USER_ID", rawValue(given))
        , type(given)
    {
    }

    /// Adds attribute "id" = text whatever the type, then "view" or "deleted" = "true" by the type.
    void start(const std::string& with) override;

    EventType type;
};

} // namespace kova
