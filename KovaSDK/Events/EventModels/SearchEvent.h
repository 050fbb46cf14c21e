// Something was searched for.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"

namespace kova {

class SearchEvent final : public Event {
public:
    explicit SearchEvent(EventType type)
        : Event("USER_ID", rawValue(type))
    {
    }

    /// Adds attribute "keywords" = text.
    void start(const std::string& with) override;
};

} // namespace kova
