#include "KovaSDK/Events/EventModels/SessionEvent.h"

namespace kova {

void SessionEvent::start(const std::string&)
{
    if (type == EventType::sessionStart)
        addAttribute("started", description(Date::now()));
    else if (type == EventType::sessionEnd)
        addAttribute("ended", description(Date::now()));
}

} // namespace kova
