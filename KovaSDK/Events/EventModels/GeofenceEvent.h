// A geofence was entered or left.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"

namespace kova {

class GeofenceEvent final : public Event {
public:
    /// Takes any type; one of another kind of event is sent as it is.
    explicit GeofenceEvent(EventType given)
        : Event("USER_ID", rawValue(given))
        , type(given)
    {
    }

    /// Adds an attribute whose key is the text: "true" on entering, "false" on leaving. That the text is the key is
    /// contract.
    void start(const std::string& with) override;

    EventType type;
};

} // namespace kova
