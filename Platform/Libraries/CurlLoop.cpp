#include "Platform/Libraries/CurlLoop.h"

#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/ThreadHook.h"

#include <curl/curl.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace kova {

namespace {

constexpr std::size_t connectionsPerHost = 6;
constexpr long idleConnections = 24;
constexpr auto longestSleep = std::chrono::hours {1};
/// Of a thread that nothing can wake.
constexpr std::chrono::milliseconds shortSleep {20};
/// How many replies may wait for their completions before no further request is sent.
constexpr std::size_t largestBacklog = 64;
/// A time-out of more than a year is none; the clock cannot add just any number.
constexpr std::chrono::duration<double> longestTimeout = std::chrono::years {1};

/// Whose completions the current thread runs. A thread's id would not do: the system gives it away again.
thread_local const CurlLoop* currentLoop = nullptr;

void initialiseCurl()
{
    // Once for the process and never undone: a host may use curl as well, and the end of the process is no time to
    // take tables away from threads.
    static const auto result = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (result != CURLE_OK)
        throw std::runtime_error {"curl cannot be initialised"};
}

std::chrono::steady_clock::time_point deadlineAfter(std::chrono::duration<double> timeout)
{
    const auto now = std::chrono::steady_clock::now();
    // Written so that a number that is none leaves no time either.
    if (!(timeout > std::chrono::duration<double>::zero()))
        return now;
    return now + std::chrono::ceil<std::chrono::milliseconds>(std::min(timeout, longestTimeout));
}

} // namespace

void CurlLoop::CloseMulti::operator()(void* multi) const
{
    curl_multi_cleanup(multi);
}

void CurlLoop::CloseShare::operator()(void* share) const
{
    curl_share_cleanup(share);
}

CurlLoop::CurlLoop(std::string additionalCertificates)
    : m_additionalCertificates(std::move(additionalCertificates))
    , m_share((initialiseCurl(), curl_share_init()))
    , m_hosts(connectionsPerHost)
{
    m_multi.reset(curl_multi_init());
    if (!m_multi || !m_share)
        throw std::runtime_error {"curl has no handle to give"};
    curl_share_setopt(m_share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    curl_multi_setopt(m_multi.get(), CURLMOPT_MAXCONNECTS, idleConnections);
    m_canBeWoken = curl_multi_wakeup(m_multi.get()) == CURLM_OK;
}

void CurlLoop::start()
{
    try {
        const std::scoped_lock lock {m_transferJoinMutex, m_completionJoinMutex};
        m_completionThread = std::thread {[self = shared_from_this()] {
            announceThread("URLCompletions");
            self->runCompletions();
        }};
        m_transferThread = std::thread {[self = shared_from_this()] { self->runTransfers(); }};
        return;
    } catch (const std::system_error& failure) {
        complain(std::string {"KovaSDK: no thread can be started for HTTP, so every request is cancelled: "}
            + failure.what());
    }
    {
        const std::lock_guard lock {m_mutex};
        m_invalidated = true;
    }
    close();
}

std::shared_ptr<CurlTask> CurlLoop::makeTask(URLRequest request, DataTaskCompletion completion)
{
    auto task = std::make_shared<CurlTask>(shared_from_this(), std::move(request), std::move(completion));
    const std::lock_guard lock {m_mutex};
    if (!m_invalidated)
        m_idle.insert(task.get());
    return task;
}

void CurlLoop::resume(CurlTask& task)
{
    {
        std::unique_lock lock {m_mutex};
        if (task.m_stage != CurlTask::Stage::created)
            return;
        if (m_invalidated) {
            task.m_stage = CurlTask::Stage::completed;
            lock.unlock();
            return runCompletion(task, std::unexpected {URLError::cancelled});
        }
        m_idle.erase(&task);
        task.m_stage = CurlTask::Stage::started;
        task.m_activity.emplace();
        task.m_deadline = deadlineAfter(task.m_request.timeoutInterval);
        m_resumed.push_back(task.shared_from_this());
        if (!std::exchange(m_asleep, false))
            return;
    }
    wake();
}

void CurlLoop::cancel(CurlTask& task)
{
    {
        std::unique_lock lock {m_mutex};
        if (task.m_stage == CurlTask::Stage::cancelled || task.m_stage == CurlTask::Stage::completed)
            return;
        if (task.m_stage == CurlTask::Stage::created) {
            if (m_invalidated) {
                task.m_stage = CurlTask::Stage::completed;
                lock.unlock();
                return runCompletion(task, std::unexpected {URLError::cancelled});
            }
            m_idle.erase(&task);
            task.m_activity.emplace();
        }
        task.m_stage = CurlTask::Stage::cancelled;
        m_cancelled.push_back(task.shared_from_this());
        if (!std::exchange(m_asleep, false))
            return;
    }
    wake();
}

void CurlLoop::forget(CurlTask& task)
{
    const std::lock_guard lock {m_mutex};
    m_idle.erase(&task);
}

void CurlLoop::invalidate()
{
    {
        const std::lock_guard lock {m_mutex};
        m_invalidated = true;
        for (auto* idle : m_idle) {
            // One that is just being destroyed waits for the mutex in forget().
            auto task = idle->weak_from_this().lock();
            if (!task)
                continue;
            task->m_stage = CurlTask::Stage::cancelled;
            task->m_activity.emplace();
            m_cancelled.push_back(std::move(task));
        }
        m_idle.clear();
    }
    wake();
    {
        const std::lock_guard lock {m_transferJoinMutex};
        if (m_transferThread.joinable())
            m_transferThread.join();
    }
    if (isOnCompletionThread())
        return runCompletions();
    const std::lock_guard lock {m_completionJoinMutex};
    if (m_completionThread.joinable())
        m_completionThread.join();
}

void CurlLoop::release()
{
    if (!isOnCompletionThread())
        return;
    // Everything is closed already; what is left of the thread is its way out.
    const std::lock_guard lock {m_completionJoinMutex};
    m_completionThread.detach();
}

bool CurlLoop::isOnCompletionThread() const
{
    return currentLoop == this;
}

void CurlLoop::wake()
{
    const std::lock_guard lock {m_wakeMutex};
    if (m_multi)
        curl_multi_wakeup(m_multi.get());
}

void CurlLoop::runTransfers()
{
    announceThread("URLSession");
    for (;;) {
        if (!m_underWay.empty()) {
            int running = 0;
            curl_multi_perform(m_multi.get(), &running);
            finishTransfers();
            finishOverdue();
        }
        const auto next = takeTasks();
        if (next == Next::end)
            break;
        if (next == Next::work)
            startAndCancelTasks();
        else
            sleep();
    }
    close();
}

CurlLoop::Next CurlLoop::takeTasks()
{
    const std::lock_guard lock {m_mutex};
    m_asleep = false;
    if (m_invalidated)
        return Next::end;
    if (m_resumed.empty() && m_cancelled.empty() && (m_heldBack.empty() || hasBacklog())) {
        m_asleep = true;
        return Next::sleep;
    }
    m_toStart.swap(m_resumed);
    m_toCancel.swap(m_cancelled);
    return Next::work;
}

void CurlLoop::startAndCancelTasks()
{
    while (!m_toStart.empty()) {
        auto task = std::move(m_toStart.front());
        m_toStart.pop_front();
        begin(std::move(task));
    }
    while (!m_toCancel.empty()) {
        const auto task = std::move(m_toCancel.front());
        m_toCancel.pop_front();
        abandon(task, URLError::cancelled);
    }
    startHeldBack();
}

void CurlLoop::begin(std::shared_ptr<CurlTask> task)
{
    auto host = CurlHostQueue::host(task->m_request.url.absoluteString());
    if (!host)
        return end(std::move(task), std::unexpected {URLError::unsupportedURL});
    if (task->m_deadline <= Clock::now())
        return end(std::move(task), std::unexpected {URLError::timedOut});
    // Downloads have connections of their own, so that nothing else waits behind them.
    task->m_host = (task->m_request.isDownload() ? "downloads from " : "") + *host;
    m_underWay.emplace(std::pair {task->m_deadline, task.get()}, task);
    m_hosts.add(task->m_host, task);
    startWaiting(task->m_host);
}

void CurlLoop::startWaiting(const std::string& host)
{
    while (true) {
        {
            const std::lock_guard lock {m_mutex};
            if (hasBacklog()) {
                m_heldBack.insert(host);
                return;
            }
        }
        const auto task = m_hosts.next(host);
        if (!task)
            return;
        if (const auto handed = handToCurl(*task); !handed) {
            takeOut(*task);
            end(task, std::unexpected {handed.error()});
        }
    }
}

void CurlLoop::startHeldBack()
{
    for (const auto& host : std::exchange(m_heldBack, {}))
        startWaiting(host);
}

std::expected<void, URLError> CurlLoop::handToCurl(CurlTask& task)
{
    // A handle serves once. It costs a microsecond, and in one that has had a reply curl 7 remembers the last header
    // field after that was freed: a next reply that begins with a folded line would be joined to it.
    task.m_exchange = std::make_unique<CurlExchange>(m_additionalCertificates, m_restingConnections);
    m_restingConnections.endDisturbed();
    auto& exchange = *task.m_exchange;
    curl_easy_setopt(exchange.handle(), CURLOPT_SHARE, m_share.get());
    auto prepared = exchange.prepare(task.m_request, task.m_deadline, &task);
    if (prepared && curl_multi_add_handle(m_multi.get(), exchange.handle()) != CURLM_OK)
        return std::unexpected {URLError::unknown};
    return prepared;
}

void CurlLoop::finishTransfers()
{
    int left = 0;
    while (const auto* message = curl_multi_info_read(m_multi.get(), &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        const auto code = message->data.result;
        char* owner = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &owner);
        const auto task = reinterpret_cast<CurlTask*>(owner)->shared_from_this();
        m_restingConnections.rest(message->easy_handle);
        // Destroyed after the task has ended, because somebody may wait for that.
        const auto exchange = takeOut(*task);
        end(task, exchange->outcome(code));
        startWaiting(task->m_host);
    }
}

void CurlLoop::finishOverdue()
{
    const auto now = Clock::now();
    while (!m_underWay.empty() && m_underWay.begin()->first.first <= now)
        abandon(std::shared_ptr {m_underWay.begin()->second}, URLError::timedOut);
}

void CurlLoop::sleep()
{
    auto longest = m_canBeWoken ? std::chrono::milliseconds {longestSleep} : shortSleep;
    if (!m_underWay.empty()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_underWay.begin()->first.first - Clock::now());
        longest = std::clamp(left, std::chrono::milliseconds {0}, longest);
    }
    curl_multi_poll(m_multi.get(), nullptr, 0, static_cast<int>(longest.count()), nullptr);
}

std::unique_ptr<CurlExchange> CurlLoop::takeOut(CurlTask& task)
{
    if (m_underWay.erase({task.m_deadline, &task}) == 0)
        return nullptr;
    if (!task.m_exchange) {
        m_hosts.remove(task.m_host, task);
        return nullptr;
    }
    m_restingConnections.leave(task.m_exchange->handle());
    curl_multi_remove_handle(m_multi.get(), task.m_exchange->handle());
    m_hosts.leave(task.m_host);
    return std::move(task.m_exchange);
}

void CurlLoop::abandon(const std::shared_ptr<CurlTask>& task, URLError error)
{
    takeOut(*task);
    end(task, std::unexpected {error});
    startWaiting(task->m_host);
}

void CurlLoop::end(std::shared_ptr<CurlTask> task, CurlExchange::Outcome outcome)
{
    const std::lock_guard lock {m_mutex};
    m_ended.push_back({std::move(task), std::move(outcome)});
    m_endedChanged.notify_one();
}

bool CurlLoop::hasBacklog() const
{
    return m_ended.size() >= largestBacklog;
}

void CurlLoop::runCompletions()
{
    // Also inside one that ends the session.
    const auto* const outer = std::exchange(currentLoop, this);
    while (auto ended = nextEnded())
        complete(*ended->task, std::move(ended->outcome));
    currentLoop = outer;
}

std::optional<CurlLoop::Ended> CurlLoop::nextEnded()
{
    std::optional<Ended> ended;
    {
        std::unique_lock lock {m_mutex};
        m_endedChanged.wait(lock, [this] { return !m_ended.empty() || m_isClosed; });
        if (m_ended.empty())
            return ended;
        const bool hadBacklog = hasBacklog();
        ended = std::move(m_ended.front());
        m_ended.pop_front();
        if (!hadBacklog || hasBacklog() || !std::exchange(m_asleep, false))
            return ended;
    }
    wake();
    return ended;
}

void CurlLoop::complete(CurlTask& task, CurlExchange::Outcome outcome)
{
    {
        const std::lock_guard lock {m_mutex};
        if (task.m_stage == CurlTask::Stage::completed)
            return;
        if (task.m_stage == CurlTask::Stage::cancelled)
            outcome = std::unexpected {URLError::cancelled};
        task.m_stage = CurlTask::Stage::completed;
    }
    runCompletion(task, std::move(outcome));
}

void CurlLoop::runCompletion(CurlTask& task, CurlExchange::Outcome outcome)
{
    // The activity ends when the completion has been destroyed, and with it whatever it held.
    const auto activity = std::move(task.m_activity);
    auto completion = std::move(task.m_completion);
    task.m_request.httpBody.reset();
    if (!completion)
        return;
    if (outcome)
        completion(std::move(outcome->body), std::move(outcome->response), {});
    else
        completion({}, {}, outcome.error());
}

void CurlLoop::close()
{
    m_hosts.clear();
    while (auto task = takeUnfinished())
        end(std::move(task), std::unexpected {URLError::cancelled});
    {
        const std::lock_guard lock {m_wakeMutex};
        m_multi.reset();
    }
    const std::lock_guard lock {m_mutex};
    m_isClosed = true;
    m_endedChanged.notify_one();
}

std::shared_ptr<CurlTask> CurlLoop::takeUnfinished()
{
    if (!m_underWay.empty()) {
        auto task = m_underWay.begin()->second;
        takeOut(*task);
        return task;
    }
    const std::lock_guard lock {m_mutex};
    for (auto* tasks : {&m_toStart, &m_toCancel, &m_resumed, &m_cancelled}) {
        if (tasks->empty())
            continue;
        auto task = std::move(tasks->front());
        tasks->pop_front();
        return task;
    }
    return nullptr;
}

} // namespace kova
