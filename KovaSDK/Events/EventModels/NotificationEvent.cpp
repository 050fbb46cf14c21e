#include "KovaSDK/Events/EventModels/NotificationEvent.h"

namespace kova {

void NotificationEvent::start(const std::string& with)
{
    addAttribute("id", with);
    if (type == EventType::notificationReceive)
        addAttribute("received", "true");
    else if (type == EventType::notificationOpen)
        addAttribute("openned", "true");
    else if (type == EventType::notificationDismiss)
        addAttribute("dismissed", "true");
}

} // namespace kova
