#include "KovaSDK/Events/EventModels/PageEvent.h"

namespace kova {

void PageEvent::start(const std::string& with)
{
    addAttribute("title", with);
    switch (type) {
    case EventType::pageView:
        addMetric("views", 1);
        break;
    case EventType::pageOpen:
        addAttribute("opened", description(Date::now()));
        break;
    case EventType::pageClose:
        addAttribute("closed", description(Date::now()));
        break;
    case EventType::pageScroll:
        addAttribute("scrolled", "true");
        break;
    default:
        break;
    }
}

} // namespace kova
