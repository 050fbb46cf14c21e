#include "KovaSDK/Events/EventModels/SearchEvent.h"

namespace kova {

void SearchEvent::start(const std::string& with)
{
    addAttribute("keywords", with);
}

} // namespace kova
