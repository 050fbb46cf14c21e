// A geotrigger fired.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"

namespace kova {

class GeotriggerEvent final : public Event {
public:
    /// Takes any type; one of another kind of event is sent as it is.
    explicit GeotriggerEvent(EventType given)
        : Event("USER_ID", rawValue(given))
        , type(given)
    {
    }

    /// Adds an attribute whose key is the text: "true" with metric "entered" = 1 on entering, "false" with "exited" = 1
    /// on leaving. That the text is the key is contract.
    void start(const std::string& with) override;

    EventType type;
};

} // namespace kova
