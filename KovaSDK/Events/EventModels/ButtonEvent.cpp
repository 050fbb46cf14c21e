#include "KovaSDK/Events/EventModels/ButtonEvent.h"

namespace kova {

void ButtonEvent::start(const std::string& with)
{
    addAttribute("button_name", with);
    addMetric("click", 1);
}

} // namespace kova
