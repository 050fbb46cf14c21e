// The curl session's thread: it alone touches the multi handle and the exchanges, and it runs the completions.
//
// Other threads only leave tasks in two lists under the mutex and wake the thread when it sleeps. The thread keeps its
// work in members, one task taken out at a time, because a completion may do anything: resume, cancel, end the session.
// How it stops: invalidate() moves every task to the cancelled ones; the thread (or the completion that called, which
// is on that thread) completes them, closes curl, and leaves.

#pragma once

#include "Platform/Libraries/CurlExchange.h"
#include "Platform/Libraries/CurlHostQueue.h"
#include "Platform/Libraries/CurlRestingConnections.h"
#include "Platform/Libraries/CurlTask.h"

#include <chrono>
#include <deque>
#include <expected>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kova {

class CurlLoop : public std::enable_shared_from_this<CurlLoop> {
public:
    explicit CurlLoop(std::string additionalCertificates);

    /// Starts the thread. To be called once, before any task is made.
    void start();

    [[nodiscard]] std::shared_ptr<CurlTask> makeTask(URLRequest request, DataTaskCompletion completion);
    void resume(CurlTask& task);
    void cancel(CurlTask& task);

    /// A task goes away that was neither resumed nor cancelled.
    void forget(CurlTask& task);

    /// Cancels everything, and waits until all completions have run and the thread has ended, unless it is the caller.
    void invalidate();

    /// Lets the thread end by itself when it is the caller: nobody can wait for it there.
    void release();

    [[nodiscard]] bool isCurrentThread() const;

private:
    using Tasks = std::deque<std::shared_ptr<CurlTask>>;
    using Clock = std::chrono::steady_clock;

    struct CloseMulti {
        void operator()(void* multi) const;
    };
    struct CloseShare {
        void operator()(void* share) const;
    };

    void wake();

    enum class Next { work, sleep, end };

    void run();
    [[nodiscard]] Next takeTasks();
    void startAndCancelTasks();
    void begin(std::shared_ptr<CurlTask> task);
    void startWaiting(const std::string& host);
    [[nodiscard]] std::expected<void, URLError> handToCurl(CurlTask& task);
    void finishTransfers();
    void finishOverdue();
    void sleep();
    std::unique_ptr<CurlExchange> takeOut(CurlTask& task);
    void abandon(const std::shared_ptr<CurlTask>& task, URLError error);
    void complete(CurlTask& task, CurlExchange::Outcome outcome);
    static void runCompletion(CurlTask& task, CurlExchange::Outcome outcome);
    [[nodiscard]] std::shared_ptr<CurlTask> takeUnfinished();
    void close();

    const std::string m_additionalCertificates;
    /// What outlives an exchange beside its connection: TLS sessions. Used by the thread alone, so it has no locks.
    const std::unique_ptr<void, CloseShare> m_share;

    std::mutex m_mutex;
    /// Guarded by m_mutex.
    bool m_invalidated = false;
    bool m_asleep = false;
    Tasks m_resumed;
    Tasks m_cancelled;
    std::unordered_set<CurlTask*> m_idle;

    /// Guards the thread's handle and with it the end.
    std::mutex m_joinMutex;
    std::thread m_thread;

    /// The thread's own; sockets are closed into it to the last.
    CurlRestingConnections m_restingConnections;

    /// Guards waking against closing. The thread sets the handle before it starts and takes this only to close it.
    std::mutex m_wakeMutex;
    std::unique_ptr<void, CloseMulti> m_multi;
    /// Not where descriptors were short when the handle was made: curl takes two for waking.
    bool m_canBeWoken = true;

    /// The thread's own.
    Tasks m_toStart;
    Tasks m_toCancel;
    /// Tasks that wait for a connection or are with curl, the first to time out first.
    std::map<std::pair<Clock::time_point, CurlTask*>, std::shared_ptr<CurlTask>> m_underWay;
    CurlHostQueue m_hosts;
};

} // namespace kova
