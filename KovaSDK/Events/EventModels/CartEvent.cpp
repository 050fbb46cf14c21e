#include "KovaSDK/Events/EventModels/CartEvent.h"

namespace kova {

void CartEvent::start(const std::string& with)
{
    switch (type) {
    case EventType::cartAddProduct:
        addAttribute("added", with);
        addMetric("quantity", 1);
        break;
    case EventType::cartRemoveProduct:
        addAttribute("removed", with);
        addMetric("quantity", 1);
        break;
    case EventType::cartCheckout:
        addAttribute("order", with);
        break;
    case EventType::cartEmpty:
        addAttribute("removed", "all");
        break;
    default:
        break;
    }
}

} // namespace kova
