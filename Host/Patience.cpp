#include "Host/Patience.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace kova::host {

Patience::Patience(std::string what, std::optional<std::chrono::duration<double>> longest)
    : m_what(std::move(what))
    , m_longest(longest)
{
    if (longest)
        m_end = m_begin + std::chrono::duration_cast<Clock::duration>(*longest);
}

std::chrono::milliseconds Patience::untilNext() const
{
    const auto next = std::min(m_end, m_begin + std::chrono::seconds {m_said + 1});
    return m_end <= Clock::now()
        ? std::chrono::milliseconds {0}
        : std::max(std::chrono::milliseconds {1}, std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()));
}

void Patience::sayIfDue()
{
    if (Clock::now() < m_begin + std::chrono::seconds {m_said + 1} || Clock::now() >= m_end)
        return;
    ++m_said;
    if (m_longest)
        std::fprintf(stderr, "kova-host: %s: %d of at most %g seconds\n", m_what.c_str(), m_said, m_longest->count());
    else
        std::fprintf(stderr, "kova-host: %s: %d s so far\n", m_what.c_str(), m_said);
}

bool Patience::wait(std::unique_lock<std::mutex>& lock, std::condition_variable_any& changed,
    const std::stop_token& stop, const std::function<bool()>& isDone)
{
    while (true) {
        const auto left = untilNext();
        if (left.count() <= 0)
            return isDone();
        if (changed.wait_for(lock, stop, left, isDone))
            return true;
        if (stop.stop_requested())
            return false;
        sayIfDue();
    }
}

} // namespace kova::host
