#include "Platform/Linux/WakeEvent.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace kova {

WakeEvent::WakeEvent()
    : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

WakeEvent::~WakeEvent()
{
    if (isOpen())
        close(m_descriptor);
}

void WakeEvent::wake() const
{
    // An event descriptor fails only when it is awake as can be.
    [[maybe_unused]] const int failure = eventfd_write(m_descriptor, 1);
}

void WakeEvent::acknowledge() const
{
    eventfd_t count = 0;
    [[maybe_unused]] const int failure = eventfd_read(m_descriptor, &count);
}

} // namespace kova
