// A clock for delayed tasks that a fuzzer moves: what waits is due when the fuzzer says so, in the order of time.
//
// Threads: any may submit; one at a time moves the clock.

#pragma once

#include "Platform/Foundation/DispatchClock.h"

#include <chrono>
#include <map>
#include <mutex>

namespace kova::fuzz {

class HeldClock final : public DispatchClock {
public:
    void wait(std::chrono::nanoseconds delay, std::move_only_function<void()> due) override;
    void dropAll() override;

    /// Moves on to what is due next and submits it; false when nothing waits.
    bool advance();

private:
    std::mutex m_mutex;
    std::chrono::nanoseconds m_now {};
    std::multimap<std::chrono::nanoseconds, std::move_only_function<void()>> m_waiting;
};

} // namespace kova::fuzz
