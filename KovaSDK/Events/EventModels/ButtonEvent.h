// A button was pressed.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"

namespace kova {

class ButtonEvent final : public Event {
public:
    explicit ButtonEvent(EventType type)
        : Event("USER_ID", rawValue(type))
    {
    }

    /// Adds attribute "button_name" = text and metric "click" = 1.
    void start(const std::string& with) override;
};

} // namespace kova
