// A gate that holds up another thread until the test lets it through, so that no test has to sleep.
//
// Threads: any.

#pragma once

#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace kova::tests {

class Gate {
public:
    /// Lets `count` more waiters through.
    void pass(int count = 1);

    /// Lets everyone through from now on.
    void open();

    /// Waits to be let through. False when a stop is requested first.
    bool enter(std::stop_token stop);

private:
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    int m_passes = 0;
    bool m_isOpen = false;
};

} // namespace kova::tests
