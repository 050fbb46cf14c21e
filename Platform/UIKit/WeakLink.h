// Weak links between objects of the toolkit: to a parent, a delegate, a target.
//
// They work from an object's constructor on, where a weak_ptr does not yet, and read as null once the object has gone.
// Threads: the main thread only.

#pragma once

#include "Platform/Foundation/Export.h"

#include <concepts>
#include <memory>

namespace kova {

/// What weak links point to. An object has its own identity, so it is never copied.
class KOVA_EXPORT Linkable {
public:
    Linkable() = default;
    virtual ~Linkable() = default;
    Linkable(const Linkable&) = delete;
    Linkable& operator=(const Linkable&) = delete;

private:
    template <typename> friend class WeakLink;
    std::shared_ptr<const char> m_life = std::make_shared<const char>();
};

template <typename Object> class WeakLink {
public:
    WeakLink() = default;
    WeakLink(std::nullptr_t) { }
    template <std::derived_from<Linkable> Linked>
        requires std::convertible_to<Linked*, Object*>
    WeakLink(Linked* object)
        : m_object(object)
    {
        if (object)
            m_life = static_cast<const Linkable*>(object)->m_life;
    }

    /// The object, null when there is none any more.
    [[nodiscard]] Object* get() const { return m_life.expired() ? nullptr : m_object; }
    Object* operator->() const { return get(); }
    explicit operator bool() const { return get() != nullptr; }

private:
    Object* m_object = nullptr;
    std::weak_ptr<const char> m_life;
};

} // namespace kova
