#include "KovaSDK/Events/EventModels/InboxNotificationEvent.h"

namespace kova {

void InboxNotificationEvent::start(const std::string& with)
{
    addAttribute("id", with);
    if (type == EventType::inboxNotificationView)
        addAttribute("view", "true");
    else if (type == EventType::inboxNotificationDelete)
        addAttribute("deleted", "true");
}

} // namespace kova
