#include "Tests/Support/ManualClock.h"

#include <functional>
#include <map>
#include <mutex>
#include <utility>

namespace kova::tests {

class ManualClock::Clock : public DispatchClock {
public:
    void wait(std::chrono::nanoseconds delay, std::move_only_function<void()> due) override
    {
        const std::lock_guard lock {m_mutex};
        m_waiting.emplace(m_now + delay, std::move(due));
    }

    void dropAll() override
    {
        decltype(m_waiting) dropped;
        const std::lock_guard lock {m_mutex};
        dropped.swap(m_waiting);
    }

    void advance(std::chrono::nanoseconds by)
    {
        std::unique_lock lock {m_mutex};
        const auto end = m_now + by;
        while (!m_waiting.empty() && m_waiting.begin()->first <= end) {
            auto next = m_waiting.extract(m_waiting.begin());
            m_now = next.key();
            lock.unlock();
            next.mapped()();
            lock.lock();
        }
        m_now = end;
    }

    [[nodiscard]] std::size_t waiting() const
    {
        const std::lock_guard lock {m_mutex};
        return m_waiting.size();
    }

private:
    mutable std::mutex m_mutex;
    std::chrono::nanoseconds m_now {};
    /// Equal times keep the order in which they came.
    std::multimap<std::chrono::nanoseconds, std::move_only_function<void()>> m_waiting;
};

ManualClock::ManualClock()
    : m_clock(std::make_shared<Clock>())
    , m_before(DispatchClock::setShared(m_clock))
{
}

ManualClock::~ManualClock()
{
    DispatchClock::setShared(m_before);
    m_clock->dropAll();
}

void ManualClock::advance(std::chrono::duration<double> by)
{
    m_clock->advance(std::chrono::round<std::chrono::nanoseconds>(by));
}

std::size_t ManualClock::waiting() const
{
    return m_clock->waiting();
}

} // namespace kova::tests
