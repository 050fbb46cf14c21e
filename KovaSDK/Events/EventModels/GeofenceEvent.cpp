#include "KovaSDK/Events/EventModels/GeofenceEvent.h"

namespace kova {

void GeofenceEvent::start(const std::string& with)
{
    if (type == EventType::geofenceEnter)
        addAttribute(with, "true");
    else if (type == EventType::geofenceExit)
        addAttribute(with, "false");
}

} // namespace kova
