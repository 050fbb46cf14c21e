// How long a lock that another process holds is waited for: one measure for everything that uses a store.
//
// The first wait in vain takes its full time; from then on, until something has gone well again, a wait is short, so
// that whoever calls often is not held up each time. Threads: any.

#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>

namespace kova {

class Patience {
public:
    using Clock = std::chrono::steady_clock;

    explicit Patience(std::chrono::milliseconds usual)
        : m_usual(usual)
    {
    }

    /// Whether to go on waiting for what has been waited for since then.
    [[nodiscard]] bool lastsSince(Clock::time_point began) const
    {
        const auto now = Clock::now();
        return now - began < (m_isShort ? std::min(shortWait, m_usual) : m_usual) && now < m_end.load();
    }

    void setShort(bool isShort) { m_isShort = isShort; }

    /// Nothing is waited for any more once this moment has come; waits that are under way notice it.
    void endAt(Clock::time_point end) { m_end = end; }

private:
    static constexpr std::chrono::milliseconds shortWait {50};

    const std::chrono::milliseconds m_usual;
    std::atomic<bool> m_isShort = false;
    std::atomic<Clock::time_point> m_end = Clock::time_point::max();
};

} // namespace kova
