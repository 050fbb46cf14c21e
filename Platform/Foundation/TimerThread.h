// The clock that runs: one thread, started by the first delayed task, sleeps until the next one is due.
//
// What waits counts as under way. Threads: any.

#pragma once

#include "Platform/Foundation/Activity.h"
#include "Platform/Foundation/DispatchClock.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

namespace kova {

class TimerThread : public DispatchClock {
public:
    TimerThread() = default;
    ~TimerThread() override;
    TimerThread(const TimerThread&) = delete;
    TimerThread& operator=(const TimerThread&) = delete;

    void wait(std::chrono::nanoseconds delay, std::move_only_function<void()> due) override;
    /// Ends the thread too; the next task starts another one. Not on that thread.
    void dropAll() override;

private:
    struct Waiting {
        Activity activity;
        std::move_only_function<void()> due;
    };

    void run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    /// Equal times keep the order in which they came.
    std::multimap<std::chrono::steady_clock::time_point, Waiting> m_waiting;
    std::thread m_thread;
    bool m_isEnding = false;
};

} // namespace kova
