// Waiting aloud: after each second it is said on standard error what is still waited for.

#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>

namespace kova::host {

class Patience {
public:
    using Clock = std::chrono::steady_clock;

    /// Without a longest time it lasts until what is waited for has come.
    explicit Patience(std::string what, std::optional<std::chrono::duration<double>> longest = {});

    /// Waits until `isDone` is true, which is asked with `lock` held, whenever `changed` is notified. False when the
    /// time is over or a stop is requested.
    [[nodiscard]] bool wait(std::unique_lock<std::mutex>& lock, std::condition_variable_any& changed,
        const std::stop_token& stop, const std::function<bool()>& isDone);

    /// For who waits in another way: how long until the next thing to do here; zero or less when the time is over.
    [[nodiscard]] std::chrono::milliseconds untilNext() const;
    /// Says that it still waits, if another second has passed.
    void sayIfDue();

private:
    std::string m_what;
    std::optional<std::chrono::duration<double>> m_longest;
    Clock::time_point m_begin = Clock::now();
    Clock::time_point m_end = Clock::time_point::max();
    int m_said = 0;
};

} // namespace kova::host
