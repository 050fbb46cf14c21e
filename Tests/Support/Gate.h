// A gate that holds up another thread until the test lets it through, so that no test has to sleep.
//
// Threads: any.

#pragma once

#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <utility>

namespace kova::tests {

class Gate {
public:
    /// Lets `count` more waiters through.
    void pass(int count = 1)
    {
        const std::lock_guard lock {m_mutex};
        m_passes += count;
        m_changed.notify_all();
    }

    /// Lets everyone through from now on.
    void open()
    {
        const std::lock_guard lock {m_mutex};
        m_isOpen = true;
        m_changed.notify_all();
    }

    /// Waits to be let through. False when a stop is requested first.
    bool enter(std::stop_token stop)
    {
        std::unique_lock lock {m_mutex};
        if (!m_changed.wait(lock, std::move(stop), [this] { return m_isOpen || m_passes > 0; }))
            return false;
        m_passes -= m_isOpen ? 0 : 1;
        return true;
    }

private:
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    int m_passes = 0;
    bool m_isOpen = false;
};

} // namespace kova::tests
