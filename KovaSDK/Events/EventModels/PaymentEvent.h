// A payment went through, or did not.

#pragma once

#include "KovaSDK/Events/EventModels/Event.h"

namespace kova {

class PaymentEvent final : public Event {
public:
    /// Takes any type; one of another kind of event is sent as it is.
    explicit PaymentEvent(EventType given)
        : Event("USER_ID", rawValue(given))
        , type(given)
    {
    }

    /// Adds attribute "reason" = text for paymentFailed, and for the three other payment types the text under the empty
    /// key: contract.
    void start(const std::string& with) override;

    EventType type;
};

} // namespace kova
