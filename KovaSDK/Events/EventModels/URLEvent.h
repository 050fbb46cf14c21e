// The URL of a notification was opened or closed.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"

namespace kova {

class UrlEvent final : public Event {
public:
    /// Takes any type; one of another kind of event is sent as it is.
    explicit UrlEvent(EventType given)
        : Event("USER_ID", rawValue(given))
        , type(given)
    {
    }

    /// Adds attribute "action" = "openned" (spelled so) or "dismiss", by the type; the text is ignored.
    void start(const std::string& with) override;

    EventType type;
};

} // namespace kova
