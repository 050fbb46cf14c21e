#include "Fuzz/Support/HeldClock.h"

#include <utility>

namespace kova::fuzz {

void HeldClock::wait(std::chrono::nanoseconds delay, std::move_only_function<void()> due)
{
    const std::lock_guard lock {m_mutex};
    m_waiting.emplace(m_now + delay, std::move(due));
}

void HeldClock::dropAll()
{
    decltype(m_waiting) dropped;
    const std::lock_guard lock {m_mutex};
    dropped.swap(m_waiting);
}

bool HeldClock::advance()
{
    std::unique_lock lock {m_mutex};
    if (m_waiting.empty())
        return false;
    auto next = m_waiting.extract(m_waiting.begin());
    m_now = next.key();
    lock.unlock();
    next.mapped()();
    return true;
}

} // namespace kova::fuzz
