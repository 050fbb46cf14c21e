// The cart changed.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"
#include "Platform/Foundation/Export.h"

namespace kova {

class KOVA_EXPORT CartEvent final : public Event {
public:
    /// Takes any type; one of another kind of event is sent as it is.
    explicit CartEvent(EventType given)
        : Event("USER_ID", rawValue(given))
        , type(given)
    {
    }

    /// Depends on the type: cartAddProduct adds attribute "added" = text and metric "quantity" = 1;
    /// cartRemoveProduct "removed" = text and "quantity" = 1; cartCheckout "order" = text; cartEmpty "removed" = "all".
    /// Other types add nothing.
    void start(const std::string& with) override;

    EventType type;
};

} // namespace kova
