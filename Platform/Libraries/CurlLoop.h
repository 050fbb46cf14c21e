// The curl session's two threads: one alone touches the multi handle and the exchanges, the other runs the completions.
//
// A completion may do anything: print to a log that nobody reads, resume, cancel, end the session. Hence no exchange
// waits for one, until so many replies are pending that memory wants a bound. Other threads only leave tasks in two
// lists under the mutex and wake the transfer thread when it sleeps; that leaves what has ended in a third.
// How it stops: invalidate() moves every task to the cancelled ones; the transfer thread ends them all, closes curl and
// leaves, then the completion thread runs what is pending and leaves, too. A completion that ends the session runs what
// is pending itself.

#pragma once

#include "Platform/Libraries/CurlExchange.h"
#include "Platform/Libraries/CurlHostQueue.h"
#include "Platform/Libraries/CurlRestingConnections.h"
#include "Platform/Libraries/CurlTask.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <expected>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kova {

class CurlLoop : public std::enable_shared_from_this<CurlLoop> {
public:
    explicit CurlLoop(std::string additionalCertificates);

    /// Starts the threads. To be called once, before any task is made.
    void start();

    [[nodiscard]] std::shared_ptr<CurlTask> makeTask(URLRequest request, DataTaskCompletion completion);
    void resume(CurlTask& task);
    void cancel(CurlTask& task);

    /// A task goes away that was neither resumed nor cancelled.
    void forget(CurlTask& task);

    /// Cancels everything, and waits until all completions have run and both threads have ended, unless the caller is
    /// the completion thread.
    void invalidate();

    /// Lets the completion thread end by itself when it is the caller: nobody can wait for it there.
    void release();

    [[nodiscard]] bool isOnCompletionThread() const;

private:
    using Tasks = std::deque<std::shared_ptr<CurlTask>>;
    using Clock = std::chrono::steady_clock;

    /// A task whose exchange has ended and whose completion has not run.
    struct Ended {
        std::shared_ptr<CurlTask> task;
        CurlExchange::Outcome outcome;
    };

    struct CloseMulti {
        void operator()(void* multi) const;
    };
    struct CloseShare {
        void operator()(void* share) const;
    };

    void wake();

    enum class Next { work, sleep, end };

    void runTransfers();
    [[nodiscard]] Next takeTasks();
    void startAndCancelTasks();
    void begin(std::shared_ptr<CurlTask> task);
    void startWaiting(const std::string& host);
    void startHeldBack();
    [[nodiscard]] std::expected<void, URLError> handToCurl(CurlTask& task);
    void finishTransfers();
    void finishOverdue();
    void sleep();
    std::unique_ptr<CurlExchange> takeOut(CurlTask& task);
    void abandon(const std::shared_ptr<CurlTask>& task, URLError error);
    void end(std::shared_ptr<CurlTask> task, CurlExchange::Outcome outcome);
    [[nodiscard]] std::shared_ptr<CurlTask> takeUnfinished();
    void close();

    void runCompletions();
    [[nodiscard]] std::optional<Ended> nextEnded();
    void complete(CurlTask& task, CurlExchange::Outcome outcome);
    static void runCompletion(CurlTask& task, CurlExchange::Outcome outcome);
    [[nodiscard]] bool hasBacklog() const;

    const std::string m_additionalCertificates;
    /// TLS sessions, which outlive the exchanges and their connections. Used by one thread alone, so it has no locks.
    const std::unique_ptr<void, CloseShare> m_share;

    std::mutex m_mutex;
    /// Guarded by m_mutex.
    bool m_invalidated = false;
    bool m_asleep = false;
    Tasks m_resumed;
    Tasks m_cancelled;
    std::unordered_set<CurlTask*> m_idle;
    std::deque<Ended> m_ended;
    /// Nothing is added to m_ended any more.
    bool m_isClosed = false;
    std::condition_variable m_endedChanged;

    /// Each guards a thread's handle. The completion thread waits for the transfers, so it must not share their mutex
    /// with somebody who waits for it.
    std::mutex m_transferJoinMutex;
    std::thread m_transferThread;
    std::mutex m_completionJoinMutex;
    std::thread m_completionThread;

    /// The transfer thread's own; sockets are closed into it to the last.
    CurlRestingConnections m_restingConnections;

    /// Guards waking against closing. The transfer thread takes this only to close the handle.
    std::mutex m_wakeMutex;
    std::unique_ptr<void, CloseMulti> m_multi;
    /// Not where descriptors were short when the handle was made: curl takes two for waking.
    bool m_canBeWoken = true;

    /// The transfer thread's own.
    Tasks m_toStart;
    Tasks m_toCancel;
    /// Tasks that wait for a connection or are with curl, the first to time out first.
    std::map<std::pair<Clock::time_point, CurlTask*>, std::shared_ptr<CurlTask>> m_underWay;
    CurlHostQueue m_hosts;
    /// Where tasks may wait although there are places.
    std::set<std::string> m_heldBack;
};

} // namespace kova
