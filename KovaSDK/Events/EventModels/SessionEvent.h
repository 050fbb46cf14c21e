// A session began or ended.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"

namespace kova {

class SessionEvent final : public Event {
public:
    /// Takes any type; one of another kind of event is sent as it is.
    explicit SessionEvent(EventType given)
        : Event("USER_ID", rawValue(given))
        , type(given)
    {
    }

    /// Adds attribute "started" or "ended" = the current time, by the type; the text is ignored.
    void start(const std::string& with) override;

    EventType type;
};

} // namespace kova
