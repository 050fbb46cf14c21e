// The thread that notices changes of the network and tells the targets, and that resolves their names.
//
// The kernel announces one change with many messages, so they are awaited until they have been quiet for a moment; then
// every target looks at its route anew, whatever the messages said: a link that goes down takes its routes with it
// without a word about them. How it stops: end() wakes the thread, which drops every question to a name server and
// leaves; tasks already on a target's queue are that queue's affair.
// Threads: add() and end() any; the rest runs on its own thread.

#pragma once

#include "Platform/Linux/HostResolver.h"
#include "Platform/Linux/NetlinkSocket.h"
#include "Platform/Linux/RouteTarget.h"
#include "Platform/Linux/WakeEvent.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kova {

class NetworkWatcher {
public:
    /// See HostResolver for `nameServers`.
    explicit NetworkWatcher(std::string nameServers);
    ~NetworkWatcher();
    NetworkWatcher(const NetworkWatcher&) = delete;
    NetworkWatcher& operator=(const NetworkWatcher&) = delete;

    /// False when the process may not listen to the kernel, or start a thread: then add() does nothing.
    [[nodiscard]] bool isWatching() const { return m_isWatching; }

    /// Resolves the target's name where needed and watches it while it lives.
    void add(const std::shared_ptr<RouteTarget>& target);

    /// Returns when the thread has ended. A repeated call does nothing.
    void end();

private:
    using Clock = std::chrono::steady_clock;

    /// Messages that have come and not been acted upon.
    struct Burst {
        Clock::time_point quietSince;
        Clock::time_point begin;

        [[nodiscard]] Clock::time_point end() const;
    };

    void run();
    /// Waits for the next thing to do and lets the resolver work.
    void wait();
    [[nodiscard]] int waitingTimeMs() const;
    void takeAdded();
    void hearMessages();
    void networkChanged();
    void resolve(const std::shared_ptr<RouteTarget>& target);

    NetlinkSocket m_changes;
    WakeEvent m_wake;
    /// Set by the constructor alone.
    bool m_isWatching = false;

    std::mutex m_mutex;
    /// Guarded by m_mutex.
    bool m_isEnding = false;
    std::vector<std::weak_ptr<RouteTarget>> m_added;

    /// The thread's own.
    HostResolver m_resolver;
    std::vector<std::weak_ptr<RouteTarget>> m_targets;
    std::optional<Burst> m_burst;

    std::mutex m_threadMutex;
    std::thread m_thread;
};

} // namespace kova
