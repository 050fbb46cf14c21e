#include "Platform/Foundation/DispatchQueue.h"

#include "Platform/Foundation/Activity.h"
#include "Platform/Foundation/DispatchClock.h"
#include "Platform/Foundation/Print.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <semaphore>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace kova {

namespace {

struct Item {
    // The activity outlives its task: what the task starts is under way before the task ends.
    Activity activity;
    DispatchQueue::Task task;
};

} // namespace

struct DispatchQueue::State {
    State(std::string name, QualityOfService qualityOfService)
        : label(std::move(name))
        , quality(qualityOfService)
    {
    }

    const std::string label;
    const QualityOfService quality;
    std::mutex mutex;
    std::condition_variable_any changed;
    std::deque<Item> items;
    bool hasThread = false;
    /// How many suspensions live; none of a queue that is abandoned, since each refers to it.
    int suspensions = 0;
    /// No further reference exists: the thread ends when the items are done.
    bool isAbandoned = false;
    bool isShutDown = false;

    static inline thread_local const State* current = nullptr;

    /// Called, and left, with the lock held.
    void runFirst(std::unique_lock<std::mutex>& lock)
    {
        {
            auto item = std::move(items.front());
            items.pop_front();
            lock.unlock();
            const auto* outer = std::exchange(current, this);
            item.task();
            item.task = nullptr;
            current = outer;
        }
        lock.lock();
    }

    std::deque<Item> takeItems()
    {
        const std::lock_guard lock {mutex};
        return std::exchange(items, {});
    }

    void runUntilAbandoned()
    {
        announceThread(label, quality);
        std::unique_lock lock {mutex};
        while (true) {
            changed.wait(lock, [this] { return isShutDown || (suspensions == 0 && (!items.empty() || isAbandoned)); });
            if (isShutDown || items.empty())
                break;
            runFirst(lock);
        }
        hasThread = false;
    }
};

namespace {

// The threads of all queues, so that somebody joins them. Never destroyed; empty once shutDownAll() has run.
struct Workers {
    struct Worker {
        std::thread thread;
        std::shared_ptr<void> queue;
        std::function<void()> shutDown;
        bool isFinished = false;
    };

    std::mutex mutex;
    std::list<Worker> workers;
    std::function<void()> mainLoopWaker;
    bool acceptsTasks = true;

    static Workers& instance()
    {
        static auto& workers = *new Workers;
        return workers;
    }
};

} // namespace

DispatchQueue::DispatchQueue(std::shared_ptr<State> state)
    : m_state(std::move(state))
{
}

DispatchQueue::~DispatchQueue()
{
    const std::lock_guard lock {m_state->mutex};
    m_state->isAbandoned = true;
    m_state->changed.notify_all();
}

std::shared_ptr<DispatchQueue> DispatchQueue::create(std::string label, QualityOfService quality)
{
    return std::shared_ptr<DispatchQueue> {new DispatchQueue {std::make_shared<State>(std::move(label), quality)}};
}

DispatchQueue& DispatchQueue::main()
{
    static auto& queue = *new DispatchQueue {std::make_shared<State>("main", QualityOfService::Unspecified)};
    return queue;
}

const std::string& DispatchQueue::label() const
{
    return m_state->label;
}

bool DispatchQueue::isCurrent() const
{
    return State::current == m_state.get();
}

DispatchQueue::Suspension::Suspension(std::shared_ptr<DispatchQueue> queue)
    : m_queue(std::move(queue))
{
    const std::lock_guard lock {m_queue->m_state->mutex};
    ++m_queue->m_state->suspensions;
}

DispatchQueue::Suspension::~Suspension()
{
    if (!m_queue)
        return;
    const std::lock_guard lock {m_queue->m_state->mutex};
    --m_queue->m_state->suspensions;
    m_queue->m_state->changed.notify_all();
}

void DispatchQueue::async(Task task)
{
    submit(m_state, std::move(task));
}

void DispatchQueue::asyncAfter(std::chrono::duration<double> delay, Task task)
{
    if (delay.count() > 0)
        submitAfter(m_state, delay, std::move(task));
    else
        async(std::move(task));
}

void DispatchQueue::submitAfter(const std::shared_ptr<State>& state, std::chrono::duration<double> delay, Task task)
{
    constexpr std::chrono::duration<double> longest = std::chrono::years {10};
    const auto clock = DispatchClock::shared();
    // Under the lock, so that the clock gets nothing after it was emptied for good.
    const std::lock_guard lock {Workers::instance().mutex};
    if (Workers::instance().acceptsTasks) {
        clock->wait(std::chrono::duration_cast<std::chrono::nanoseconds>(std::min(delay, longest)),
            [state, task = std::move(task)]() mutable { submit(state, std::move(task)); });
    }
}

void DispatchQueue::submit(const std::shared_ptr<State>& state, Task task)
{
    auto& workers = Workers::instance();
    const bool isMain = state == main().m_state;
    // Threads that have ended by themselves are joined outside the lock, by whoever submits next.
    std::list<Workers::Worker> finished;
    // Destroyed with no lock held: what a task owns may call back.
    std::deque<Item> dropped;
    std::string whyDropped;
    std::function<void()> waker;
    {
        const std::lock_guard workersLock {workers.mutex};
        if (!workers.acceptsTasks)
            return;
        for (auto worker = workers.workers.begin(); worker != workers.workers.end();) {
            const auto next = std::next(worker);
            if (worker->isFinished)
                finished.splice(finished.end(), workers.workers, worker);
            worker = next;
        }
        const std::lock_guard lock {state->mutex};
        state->items.push_back({.activity = Activity {}, .task = std::move(task)});
        state->changed.notify_all();
        if (isMain) {
            waker = workers.mainLoopWaker;
        } else if (!state->hasThread) {
            state->hasThread = true;
            state->isShutDown = false;
            auto& worker = workers.workers.emplace_back();
            worker.queue = state;
            worker.shutDown = [borrowed = state.get()] {
                const std::lock_guard stateLock {borrowed->mutex};
                borrowed->isShutDown = true;
                borrowed->changed.notify_all();
            };
            try {
                worker.thread = std::thread {[state, &workers, &worker] {
                    state->runUntilAbandoned();
                    const std::lock_guard finishLock {workers.mutex};
                    worker.isFinished = true;
                }};
            } catch (const std::system_error& failure) {
                whyDropped = failure.what();
                workers.workers.pop_back();
                state->hasThread = false;
                dropped.swap(state->items);
            }
        }
    }
    if (!dropped.empty())
        complain("KovaSDK: no thread can be started for the queue " + state->label
            + ", so a task is dropped: " + whyDropped);
    for (auto& worker : finished)
        worker.thread.join();
    if (waker)
        waker();
}

void DispatchQueue::sync(Task task)
{
    if (isCurrent())
        fatalError("DispatchQueue::sync called on the queue's own thread (" + label() + ") would wait for ever");
    const auto done = std::make_shared<std::binary_semaphore>(0);
    // Destroyed with the task, run or not, so that the caller is released in every case.
    std::shared_ptr<void> release {nullptr, [done](void*) { done->release(); }};
    submit(m_state, [task = std::move(task), release = std::move(release)]() mutable { task(); });
    done->acquire();
}

void DispatchQueue::runMain(const std::stop_token& stop)
{
    auto& state = *main().m_state;
    std::unique_lock lock {state.mutex};
    while (state.changed.wait(lock, stop, [&state] { return !state.items.empty(); }) && !stop.stop_requested())
        state.runFirst(lock);
}

void DispatchQueue::drainMain()
{
    drainMainUntil(std::chrono::steady_clock::time_point::max());
}

void DispatchQueue::drainMainUntil(std::chrono::steady_clock::time_point end)
{
    auto& state = *main().m_state;
    std::unique_lock lock {state.mutex};
    while (!state.items.empty() && std::chrono::steady_clock::now() < end)
        state.runFirst(lock);
}

void DispatchQueue::setMainLoopWaker(std::function<void()> waker)
{
    const std::lock_guard lock {Workers::instance().mutex};
    Workers::instance().mainLoopWaker = std::move(waker);
}

void DispatchQueue::shutDownAll()
{
    auto& workers = Workers::instance();
    {
        const std::lock_guard lock {workers.mutex};
        workers.acceptsTasks = false;
        for (auto& worker : workers.workers)
            worker.shutDown();
    }
    DispatchClock::dropEverything();
    // Dropped tasks are destroyed here, with no lock held: what they own may call back.
    main().m_state->takeItems().clear();
    while (true) {
        std::thread thread;
        std::shared_ptr<State> state;
        {
            const std::lock_guard lock {workers.mutex};
            if (workers.workers.empty())
                break;
            thread = std::move(workers.workers.front().thread);
            state = std::static_pointer_cast<State>(workers.workers.front().queue);
        }
        if (thread.get_id() == std::this_thread::get_id())
            fatalError("the platform object must not end on a dispatch queue's thread (" + state->label + ")");
        thread.join();
        {
            const std::lock_guard lock {workers.mutex};
            workers.workers.pop_front();
        }
        state->takeItems().clear();
    }
}

void DispatchQueue::acceptTasks()
{
    const std::lock_guard lock {Workers::instance().mutex};
    Workers::instance().acceptsTasks = true;
}

} // namespace kova
