// A clock for delayed tasks that only a test moves: while one lives, what asyncAfter() submits is held back until
// advance() reaches it. What is held back does not count as under way, and is dropped when the object goes.
//
// Threads: any may submit; one at a time moves the clock.

#pragma once

#include "Platform/Foundation/DispatchClock.h"

#include <chrono>
#include <cstddef>
#include <memory>

namespace kova::tests {

class ManualClock {
public:
    ManualClock();
    ~ManualClock();
    ManualClock(const ManualClock&) = delete;
    ManualClock& operator=(const ManualClock&) = delete;

    /// Submits what comes due, in order, to the queues; what they run is theirs.
    void advance(std::chrono::duration<double> by);

    [[nodiscard]] std::size_t waiting() const;

private:
    class Clock;

    std::shared_ptr<Clock> m_clock;
    std::shared_ptr<DispatchClock> m_before;
};

} // namespace kova::tests
