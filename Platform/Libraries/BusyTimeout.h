// How long one call of the store may wait for locks that other processes hold.
//
// All waits of a call share one budget. Once a call has failed, the budget of later calls is short until one succeeds,
// so that a caller who calls often is not held up each time. Threads: one uses it at a time; endAt() and setShort()
// may come from any.

#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>

namespace kova {

class BusyTimeout {
public:
    using Clock = std::chrono::steady_clock;

    explicit BusyTimeout(std::chrono::milliseconds usual)
        : m_usual(usual)
    {
        begin();
    }

    /// Starts the budget of the next call.
    void begin() { m_deadline = Clock::now() + (m_isShort ? std::min(shortBudget, m_usual) : m_usual); }

    /// Returns true when nothing may be waited for any more.
    [[nodiscard]] bool isOver() const
    {
        const auto now = Clock::now();
        return now >= m_deadline.load() || now >= m_end.load();
    }

    void setShort(bool isShort) { m_isShort = isShort; }

    /// Ends every wait, also those under way, at this moment.
    void endAt(Clock::time_point end) { m_end = end; }

private:
    static constexpr std::chrono::milliseconds shortBudget {50};

    const std::chrono::milliseconds m_usual;
    std::atomic<bool> m_isShort = false;
    std::atomic<Clock::time_point> m_deadline;
    std::atomic<Clock::time_point> m_end = Clock::time_point::max();
};

} // namespace kova
