// How much asynchronous work is under way in the process: queue tasks and HTTP tasks, from the moment they are
// submitted until they have run.
//
// Work that starts other work does so before it ends, so the count reaches zero only when everything is quiet.
// Threads: any.

#pragma once

#include <chrono>
#include <cstddef>
#include <stop_token>

namespace kova {

/// One piece of work under way, for as long as the object lives.
class Activity {
public:
    Activity();
    Activity(Activity&& other) noexcept;
    Activity& operator=(Activity&&) = delete;
    ~Activity();

    /// Waits until nothing is under way. False when the deadline comes first, or a stop is requested.
    [[nodiscard]] static bool waitUntilIdle(std::chrono::steady_clock::time_point deadline, std::stop_token stop = {});

private:
    bool m_counts = true;
};

} // namespace kova
