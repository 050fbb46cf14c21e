#include "Platform/Foundation/NotificationCenter.h"

#include <atomic>

namespace kova {

struct NotificationCenter::Registration {
    Handler handler;
    std::optional<std::string> name;
    const void* object = nullptr;
    /// Null for class-level observers, which nothing removes.
    const void* observer = nullptr;
    std::weak_ptr<void> owner {};
    std::atomic<bool> isRemoved = false;
};

NotificationCenter& NotificationCenter::default_()
{
    // Never destroyed: a thread may still post while main's statics go away.
    static auto& center = *new NotificationCenter;
    return center;
}

void NotificationCenter::addObserver(
    const std::shared_ptr<void>& observer, Handler handler, std::optional<std::string> name, const void* object)
{
    auto registration
        = std::make_shared<Registration>(std::move(handler), std::move(name), object, observer.get(), observer);
    // Where observers come and go and nobody posts, the list must not grow for ever.
    Registrations gone;
    const std::lock_guard lock {m_mutex};
    gone = takeOrphans();
    m_registrations.push_back(std::move(registration));
}

void NotificationCenter::addObserver(Handler handler, std::optional<std::string> name, const void* object)
{
    auto registration = std::make_shared<Registration>(std::move(handler), std::move(name), object);
    const std::lock_guard lock {m_mutex};
    m_registrations.push_back(std::move(registration));
}

void NotificationCenter::removeObserver(
    const void* observer, const std::optional<std::string>& name, const void* object)
{
    // Handlers may own what calls back when it dies, so they are destroyed after the lock is gone.
    std::vector<std::shared_ptr<Registration>> removed;
    {
        const std::lock_guard lock {m_mutex};
        std::erase_if(m_registrations, [&](const auto& registration) {
            if (!registration->observer || registration->observer != observer || (name && registration->name != name)
                || (object && registration->object != object))
                return false;
            registration->isRemoved = true;
            removed.push_back(registration);
            return true;
        });
    }
}

void NotificationCenter::post(const Notification& notification)
{
    Registrations matching;
    Registrations gone;
    {
        const std::lock_guard lock {m_mutex};
        gone = takeOrphans();
        for (const auto& registration : m_registrations) {
            if ((!registration->name || registration->name == notification.name)
                && (!registration->object || registration->object == notification.object))
                matching.push_back(registration);
        }
    }
    for (const auto& registration : matching) {
        const auto owner = registration->owner.lock();
        if (!registration->isRemoved && (owner || !registration->observer))
            registration->handler(notification);
    }
}

/// Removes the registrations whose owners have gone. The lock is held; they are to be destroyed without it.
NotificationCenter::Registrations NotificationCenter::takeOrphans()
{
    Registrations gone;
    std::erase_if(m_registrations, [&](const auto& registration) {
        if (!registration->observer || !registration->owner.expired())
            return false;
        gone.push_back(registration);
        return true;
    });
    return gone;
}

void NotificationCenter::removeAllObservers()
{
    // Destroyed after the lock is gone.
    std::vector<std::shared_ptr<Registration>> removed;
    const std::lock_guard lock {m_mutex};
    removed.swap(m_registrations);
    for (const auto& registration : removed)
        registration->isRemoved = true;
}

} // namespace kova
