// Serial queues of tasks, and the main queue.
//
// A queue made with create() has a thread of its own, started by its first task. When the last reference to it drops
// (also on that thread), the tasks it still has are run and the thread ends. The main queue has no thread: it runs on
// whatever loop the host offers (runMain, drainMain, or a toolkit's loop that setMainLoopWaker connects).
// Threads: every operation may be called from any thread.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/ThreadHook.h"

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>

namespace kova {

class KOVA_EXPORT DispatchQueue {
public:
    using Task = std::move_only_function<void()>;

    [[nodiscard]] static std::shared_ptr<DispatchQueue> create(
        std::string label, QualityOfService quality = QualityOfService::Unspecified);
    [[nodiscard]] static DispatchQueue& main();

    ~DispatchQueue();
    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;

    /// Submits a task and returns at once. After shutDownAll() the task is dropped unrun.
    void async(Task task);

    /// Submits a task once the delay has passed on the process's DispatchClock. It may run later than that, never
    /// earlier; a delay that is not positive is none.
    void asyncAfter(std::chrono::duration<double> delay, Task task);

    /// Submits a task and waits until it has run or was dropped. On the queue's own thread this would wait for ever, so
    /// it stops the process.
    void sync(Task task);

    /// Begins no task of one queue while it lives; tasks that are submitted meanwhile run afterwards, in order. A task
    /// that has begun goes on. Several on one queue add up. sync() on a suspended queue waits for the end of the
    /// suspension. Threads: any; it keeps the queue alive.
    class KOVA_EXPORT Suspension {
    public:
        explicit Suspension(std::shared_ptr<DispatchQueue> queue);
        ~Suspension();
        Suspension(Suspension&& other) noexcept = default;
        Suspension& operator=(Suspension&& other) = delete;

    private:
        std::shared_ptr<DispatchQueue> m_queue;
    };

    [[nodiscard]] const std::string& label() const;
    [[nodiscard]] bool isCurrent() const;

    /// Runs the main queue's tasks on the calling thread until a stop is requested; no other task begins then.
    static void runMain(const std::stop_token& stop);

    /// Runs the main queue's tasks on the calling thread until there is none.
    static void drainMain();

    /// The same; none begins at `end` or later.
    static void drainMainUntil(std::chrono::steady_clock::time_point end);

    /// `waker` runs after each submission to the main queue, on the submitting thread; a toolkit's loop then calls
    /// drainMain() on its own thread. Null when no loop wants to be told.
    static void setMainLoopWaker(std::function<void()> waker);

    /// Drops every task that has not begun, waits for those that have, and ends all threads; the main queue is emptied
    /// too. From then on tasks are dropped, until acceptTasks().
    static void shutDownAll();
    static void acceptTasks();

private:
    struct State;
    static void submit(const std::shared_ptr<State>& state, Task task);
    static void submitAfter(const std::shared_ptr<State>& state, std::chrono::duration<double> delay, Task task);
    explicit DispatchQueue(std::shared_ptr<State> state);

    std::shared_ptr<State> m_state;
};

} // namespace kova
