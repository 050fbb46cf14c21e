// A page was viewed, opened, closed or scrolled.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"
#include "Platform/Foundation/Export.h"

namespace kova {

class KOVA_EXPORT PageEvent final : public Event {
public:
    /// Takes any type; one of another kind of event is sent as it is.
    explicit PageEvent(EventType given)
        : Event("3f5e2a91-7c4d-4b8e-9a12-6d0c8e4f7b21", rawValue(given))
        , type(given)
    {
    }

    /// Adds attribute "title" = text whatever the type, then by the type: pageView metric "views" = 1; pageOpen
    /// "opened" and pageClose "closed" = the current time (2024-01-31 12:00:00 +0000); pageScroll "scrolled" = "true".
    void start(const std::string& with) override;

    EventType type;
};

} // namespace kova
