#include "Platform/Foundation/TimerThread.h"

#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/ThreadHook.h"

#include <string>
#include <system_error>
#include <utility>

namespace kova {

TimerThread::~TimerThread()
{
    dropAll();
}

void TimerThread::wait(std::chrono::nanoseconds delay, std::move_only_function<void()> due)
{
    const std::lock_guard lock {m_mutex};
    m_waiting.emplace(
        std::chrono::steady_clock::now() + delay, Waiting {.activity = Activity {}, .due = std::move(due)});
    m_changed.notify_all();
    if (m_thread.joinable())
        return;
    try {
        m_thread = std::thread {[this] { run(); }};
    } catch (const std::system_error& failure) {
        complain(std::string {"KovaSDK: no thread can be started for delayed tasks, which wait for the next one: "}
            + failure.what());
    }
}

void TimerThread::dropAll()
{
    std::thread thread;
    {
        const std::lock_guard lock {m_mutex};
        thread = std::move(m_thread);
        // Whoever took the thread ends it: two may come at once.
        if (thread.joinable())
            m_isEnding = true;
        m_changed.notify_all();
    }
    const bool hasEnded = thread.joinable();
    if (hasEnded)
        thread.join();
    // Destroyed with no lock held: what the dropped tasks own may call back.
    decltype(m_waiting) dropped;
    const std::lock_guard lock {m_mutex};
    dropped.swap(m_waiting);
    if (hasEnded)
        m_isEnding = false;
}

void TimerThread::run()
{
    announceThread("delayed tasks");
    std::unique_lock lock {m_mutex};
    while (!m_isEnding) {
        if (m_waiting.empty()) {
            m_changed.wait(lock);
        } else if (const auto next = m_waiting.begin()->first; std::chrono::steady_clock::now() < next) {
            m_changed.wait_until(lock, next);
        } else {
            auto item = m_waiting.extract(m_waiting.begin());
            lock.unlock();
            item.mapped().due();
            item = {};
            lock.lock();
        }
    }
}

} // namespace kova
