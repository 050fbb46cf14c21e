#include "KovaSDK/Events/EventModels/URLEvent.h"

namespace kova {

void UrlEvent::start(const std::string&)
{
    if (type == EventType::urlFromNotificationOpen)
        addAttribute("action", "openned");
    else if (type == EventType::urlFromNotificationClose)
        addAttribute("action", "dismiss");
}

} // namespace kova
