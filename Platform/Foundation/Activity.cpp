#include "Platform/Foundation/Activity.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace kova {

namespace {

struct Counter {
    std::mutex mutex;
    std::condition_variable_any changed;
    std::size_t underWay = 0;
};

Counter& counter()
{
    // Never destroyed: work may end while main's statics go away.
    static auto& instance = *new Counter;
    return instance;
}

} // namespace

Activity::Activity()
{
    const std::lock_guard lock {counter().mutex};
    ++counter().underWay;
}

Activity::Activity(Activity&& other) noexcept
    : m_counts(std::exchange(other.m_counts, false))
{
}

Activity::~Activity()
{
    if (!m_counts)
        return;
    const std::lock_guard lock {counter().mutex};
    if (--counter().underWay == 0)
        counter().changed.notify_all();
}

bool Activity::waitUntilIdle(std::chrono::steady_clock::time_point deadline, std::stop_token stop)
{
    std::unique_lock lock {counter().mutex};
    return counter().changed.wait_until(lock, std::move(stop), deadline, [] { return counter().underWay == 0; });
}

} // namespace kova
