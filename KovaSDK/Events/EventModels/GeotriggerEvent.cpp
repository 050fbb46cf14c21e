#include "KovaSDK/Events/EventModels/GeotriggerEvent.h"

namespace kova {

void GeotriggerEvent::start(const std::string& with)
{
    if (type == EventType::geotriggerEnter) {
        addAttribute(with, "true");
        addMetric("entered", 1);
    } else if (type == EventType::geotriggerExit) {
        addAttribute(with, "false");
        addMetric("exited", 1);
    }
}

} // namespace kova
