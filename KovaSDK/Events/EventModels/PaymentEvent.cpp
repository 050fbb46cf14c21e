#include "KovaSDK/Events/EventModels/PaymentEvent.h"

namespace kova {

void PaymentEvent::start(const std::string& with)
{
    switch (type) {
    case EventType::paymentFailed:
        addAttribute("reason", with);
        break;
    case EventType::paymentFinish:
    case EventType::paymentDropped:
    case EventType::paymentConfirmed:
        addAttribute("", with);
        break;
    default:
        break;
    }
}

} // namespace kova
