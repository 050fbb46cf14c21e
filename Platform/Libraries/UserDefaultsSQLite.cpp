#include "Platform/Libraries/UserDefaultsSQLite.h"

#include "Platform/Foundation/ThreadHook.h"
#include "Platform/Libraries/KeptValues.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <utility>

namespace kova {

namespace {

/// However long something goes wrong, it is tried again after this time.
constexpr std::chrono::seconds longestRetryDelay {5};

} // namespace

// What the thread works on: it brings writes to the disk some time after the first of them, tries again what failed,
// and closes the store in the end.
struct UserDefaultsSQLite::Background {
    explicit Background(const Options& options)
        : values(options.folder, options.busyTimeout)
        , checkpointDelay(options.checkpointDelay)
    {
    }

    void run(const std::stop_token& stop);
    void bringToDisk(std::unique_lock<std::mutex>& lock, const std::stop_token& stop);

    KeptValues values;
    const std::chrono::milliseconds checkpointDelay;

    // Guards what follows.
    std::mutex mutex;
    std::condition_variable_any changed;
    bool hasNews = false;
    bool hasEnded = false;
};

void UserDefaultsSQLite::Background::run(const std::stop_token& stop)
{
    announceThread("UserDefaults");
    std::unique_lock lock {mutex};
    while (changed.wait(lock, stop, [this] { return hasNews; }))
        bringToDisk(lock, stop);
    lock.unlock();
    values.end();
    lock.lock();
    hasEnded = true;
    changed.notify_all();
}

// Until all is done; what fails is tried again after a growing time, or when there is news.
void UserDefaultsSQLite::Background::bringToDisk(std::unique_lock<std::mutex>& lock, const std::stop_token& stop)
{
    std::chrono::milliseconds delay = checkpointDelay;
    while (true) {
        hasNews = false;
        // Gathers what a burst writes; a stop ends the wait at once.
        changed.wait_for(lock, stop, checkpointDelay, [] { return false; });
        changed.wait_for(lock, stop, delay - checkpointDelay, [this] { return hasNews; });
        if (stop.stop_requested())
            return;
        lock.unlock();
        const auto progress = values.bringToDisk();
        lock.lock();
        if (progress == KeptValues::Progress::Done)
            return;
        const bool hasFailed = progress == KeptValues::Progress::Failed;
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
    return m_isClosed ? std::nullopt : m_background->values.read(key);
}

void UserDefaultsSQLite::setObject(std::string_view key, std::optional<Value> value)
{
    // Waking the thread costs as much as the write, so only the first of a burst does it.
    if (m_isClosed || !m_background->values.write(key, std::move(value)))
        return;
    const std::lock_guard lock {m_background->mutex};
    m_background->hasNews = true;
    m_background->changed.notify_all();
    if (!m_isClosed)
        startThread();
}

void UserDefaultsSQLite::startThread()
{
    if (!m_thread.joinable())
        m_thread = std::jthread {[background = m_background](const std::stop_token& stop) { background->run(stop); }};
}

void UserDefaultsSQLite::synchronize()
{
    if (!m_isClosed)
        m_background->values.bringToDisk();
}

void UserDefaultsSQLite::close()
{
    if (m_isClosed.exchange(true))
        return;
    m_background->values.hurry(std::chrono::steady_clock::now() + m_options.closeTimeout / 2);
    std::unique_lock lock {m_background->mutex};
    startThread();
    m_thread.request_stop();
    const bool hasEnded
        = m_background->changed.wait_for(lock, m_options.closeTimeout, [this] { return m_background->hasEnded; });
    lock.unlock();
    if (hasEnded) {
        m_thread.join();
        return;
    }
    const auto line = "KovaSDK: the store in " + m_options.folder.string()
        + " does not answer; its last second may not be on the disk\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    m_thread.detach();
}

} // namespace kova
