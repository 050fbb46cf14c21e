#include "Tests/Support/Gate.h"

#include <utility>

namespace kova::tests {

void Gate::pass(int count)
{
    const std::lock_guard lock {m_mutex};
    m_passes += count;
    m_changed.notify_all();
}

void Gate::open()
{
    const std::lock_guard lock {m_mutex};
    m_isOpen = true;
    m_changed.notify_all();
}

bool Gate::enter(std::stop_token stop)
{
    std::unique_lock lock {m_mutex};
    if (!m_changed.wait(lock, std::move(stop), [this] { return m_isOpen || m_passes > 0; }))
        return false;
    if (!m_isOpen)
        --m_passes;
    return true;
}

} // namespace kova::tests
