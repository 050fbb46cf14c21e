// In place of a drawn window where Qt was not found.

#include "Host/HostWindow.h"

#include <stdexcept>

namespace kova::host {

std::unique_ptr<HostWindow> openDrawnWindow(const std::shared_ptr<HostScreen>&, bool)
{
    throw std::runtime_error {"this kova-host was built without Qt, so it has no --window"};
}

} // namespace kova::host
