#include "Collector/StopEvent.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <system_error>

namespace kova::collector {

StopEvent::StopEvent()
    : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (m_descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
}

StopEvent::~StopEvent()
{
    close(m_descriptor);
}

void StopEvent::trigger() const
{
    const std::uint64_t one = 1;
    // The only failure that is left is a counter at its limit, and then the event is triggered already.
    [[maybe_unused]] const auto written = write(m_descriptor, &one, sizeof one);
}

bool StopEvent::waitFor(std::chrono::milliseconds duration) const
{
    const auto end = std::chrono::steady_clock::now() + duration;
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
        pollfd entry {.fd = m_descriptor, .events = POLLIN, .revents = 0};
        if (poll(&entry, 1, static_cast<int>(std::clamp<std::int64_t>(left, 0, INT_MAX))) > 0)
            return true;
        if (left <= 0)
            return false;
    }
}

} // namespace kova::collector
