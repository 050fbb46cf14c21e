#include "Platform/Libraries/UserDefaultsSQLite.h"

#include "Platform/Foundation/ThreadHook.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <system_error>
#include <utility>

namespace kova {

namespace {

/// However long something goes wrong, it is tried again after this time.
constexpr std::chrono::seconds longestRetryDelay {5};

} // namespace

// The state that the thread works on. The thread brings writes to the disk some time after the first of them, retries
// what failed, and closes the store in the end.
struct UserDefaultsSQLite::Background {
    explicit Background(const Options& options)
        : store(options.folder, options.busyTimeout)
        , checkpointDelay(options.checkpointDelay)
    {
    }

    void run(const std::stop_token& stop);
    void flush(std::unique_lock<std::mutex>& lock, const std::stop_token& stop);

    ReplayingStore store;
    const std::chrono::milliseconds checkpointDelay;

    // Guards what follows.
    std::mutex mutex;
    std::condition_variable_any changed;
    bool isDirty = false;
    bool hasEnded = false;
    /// When a caller has flushed last because there is no thread.
    std::chrono::steady_clock::time_point lastFlush {};
};

void UserDefaultsSQLite::Background::run(const std::stop_token& stop)
{
    announceThread("UserDefaults");
    std::unique_lock guard {mutex};
    while (changed.wait(guard, stop, [this] { return isDirty; }))
        flush(guard, stop);
    guard.unlock();
    store.close();
    guard.lock();
    hasEnded = true;
    changed.notify_all();
}

// Goes on until all is done; what fails is tried again after a growing time, or when there is another update.
void UserDefaultsSQLite::Background::flush(std::unique_lock<std::mutex>& guard, const std::stop_token& stop)
{
    std::chrono::milliseconds delay = checkpointDelay;
    while (true) {
        isDirty = false;
        // Gathers what a burst writes; a stop ends the wait at once.
        changed.wait_for(guard, stop, checkpointDelay, [] { return false; });
        changed.wait_for(guard, stop, delay - checkpointDelay, [this] { return isDirty; });
        if (stop.stop_requested())
            return;
        guard.unlock();
        const auto progress = store.flush();
        guard.lock();
        if (progress == ReplayingStore::Progress::Done)
            return;
        const bool hasFailed = progress == ReplayingStore::Progress::Failed;
        delay = hasFailed ? std::min<std::chrono::milliseconds>(2 * delay, longestRetryDelay) : checkpointDelay;
    }
}

UserDefaultsSQLite::UserDefaultsSQLite(Options options)
    : m_options(std::move(options))
    , m_background(std::make_shared<Background>(m_options))
{
}

UserDefaultsSQLite::~UserDefaultsSQLite()
{
    close();
}

std::optional<Value> UserDefaultsSQLite::object(std::string_view key)
{
    return m_isClosed ? std::nullopt : m_background->store.read(key);
}

void UserDefaultsSQLite::setObject(std::string_view key, std::optional<Value> value)
{
    if (!m_isClosed)
        schedule(m_background->store.set(key, std::move(value)));
}

void UserDefaultsSQLite::update(std::string_view key, Change change)
{
    if (!m_isClosed)
        schedule(m_background->store.update(key, std::move(change)));
}

// Waking the thread costs as much as the write, so only the first update of a burst does it.
void UserDefaultsSQLite::schedule(ReplayingStore::Flush flush)
{
    if (flush == ReplayingStore::Flush::IsDue && m_hasThread)
        return;
    auto& background = *m_background;
    std::unique_lock guard {background.mutex};
    background.isDirty = true;
    background.changed.notify_all();
    if (m_isClosed || startThread())
        return;
    // The process may start no more threads, so the caller flushes now and then.
    const auto now = std::chrono::steady_clock::now();
    if (now - background.lastFlush < background.checkpointDelay)
        return;
    background.lastFlush = now;
    guard.unlock();
    background.store.flush();
}

bool UserDefaultsSQLite::startThread()
{
    if (m_thread.joinable())
        return true;
    try {
        m_thread = std::jthread {[background = m_background](const std::stop_token& stop) { background->run(stop); }};
    } catch (const std::system_error&) {
        return false;
    }
    m_hasThread = true;
    return true;
}

void UserDefaultsSQLite::synchronize()
{
    if (!m_isClosed)
        m_background->store.flush();
}

std::size_t UserDefaultsSQLite::close()
{
    if (m_isClosed.exchange(true))
        return m_lost;
    auto& background = *m_background;
    background.store.hurry(std::chrono::steady_clock::now() + m_options.closeTimeout / 2);
    std::unique_lock guard {background.mutex};
    if (!startThread()) {
        guard.unlock();
        return m_lost = background.store.close();
    }
    m_thread.request_stop();
    const bool hasEnded
        = background.changed.wait_for(guard, m_options.closeTimeout, [&] { return background.hasEnded; });
    guard.unlock();
    m_lost = background.store.pendingCount();
    if (hasEnded) {
        m_thread.join();
        return m_lost;
    }
    const auto line = "KovaSDK: the store in " + m_options.folder.string()
        + " does not answer; its last second may not be on the disk\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    m_thread.detach();
    return m_lost;
}

} // namespace kova
