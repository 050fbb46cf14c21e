// What holds delayed tasks back until they are due: a thread that sleeps, or, in a test, a clock that is moved by hand.

#pragma once

#include "Platform/Foundation/Export.h"

#include <chrono>
#include <functional>
#include <memory>

namespace kova {

class KOVA_EXPORT DispatchClock {
public:
    virtual ~DispatchClock() = default;

    /// The process-wide clock, never null. Threads: any.
    [[nodiscard]] static std::shared_ptr<DispatchClock> shared();
    /// Replaces it, null standing for the thread that sleeps, and returns the one before. What waits in the one before
    /// goes on waiting there. Threads: any.
    static std::shared_ptr<DispatchClock> setShared(std::shared_ptr<DispatchClock> clock);

    /// Drops what waits in the shared clock and in the thread that sleeps, and ends that thread.
    static void dropEverything();

    /// Runs `due` once, after the delay, on a thread of the clock's choice, but never before the call returns. Called
    /// with the queues locked. Threads: any.
    virtual void wait(std::chrono::nanoseconds delay, std::move_only_function<void()> due) = 0;

    /// Drops what waits, unrun; when it returns nothing that waited is running any more. Nothing is added meanwhile.
    virtual void dropAll() = 0;
};

} // namespace kova
