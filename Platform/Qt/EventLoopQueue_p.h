// Runs the main queue on Qt's event loop: each submission wakes the loop of the thread that made this object.
//
// One object at a time drives the queue. Made after the application object and destroyed before it, by its thread.

#pragma once

#include "Platform/Foundation/DispatchQueue.h"

#include <QMetaObject>
#include <QObject>
#include <atomic>
#include <memory>
#include <mutex>

namespace kova {

class EventLoopQueue {
public:
    EventLoopQueue()
    {
        DispatchQueue::setMainLoopWaker([state = m_state] {
            if (state->isAsked.exchange(true))
                return;
            const std::lock_guard lock {state->mutex};
            if (!state->loop)
                return;
            const auto drain = [state] {
                state->isAsked = false;
                DispatchQueue::drainMain();
            };
            QMetaObject::invokeMethod(state->loop.get(), drain, Qt::QueuedConnection);
        });
        // Tasks may have been submitted before there was a loop to wake.
        QMetaObject::invokeMethod(m_state->loop.get(), &DispatchQueue::drainMain, Qt::QueuedConnection);
    }
    ~EventLoopQueue()
    {
        DispatchQueue::setMainLoopWaker(nullptr);
        const std::lock_guard lock {m_state->mutex};
        m_state->loop = nullptr;
    }
    EventLoopQueue(const EventLoopQueue&) = delete;
    EventLoopQueue& operator=(const EventLoopQueue&) = delete;

private:
    struct State {
        /// Receives the events that drain the queue. Null once the EventLoopQueue has gone.
        std::mutex mutex;
        std::unique_ptr<QObject> loop = std::make_unique<QObject>();
        /// The event loop has been asked and has not begun yet.
        std::atomic<bool> isAsked = false;
    };

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace kova
