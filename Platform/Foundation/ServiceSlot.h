// The place where the process-wide instance of a platform service stands.
//
// The platform object fills the slots when it is installed; when it ends, its services stay there, closed. A test may
// put its own instance in. The slot itself is never destroyed, so that no order of static destruction matters. Threads:
// any.

#pragma once

#include "Platform/Foundation/Print.h"

#include <memory>
#include <mutex>
#include <utility>

namespace kova {

template <typename Service> class ServiceSlot {
public:
    static std::shared_ptr<Service> current()
    {
        auto& slot = instance();
        const std::lock_guard lock {slot.m_mutex};
        return slot.m_service;
    }

    /// The current instance; ends the process when there is none, saying what is missing and how to install it.
    static std::shared_ptr<Service> required(const char* remedy)
    {
        if (auto service = current())
            return service;
        fatalError(remedy);
    }

    /// Installs an instance (or none) and returns the one that stood there.
    static std::shared_ptr<Service> exchange(std::shared_ptr<Service> service)
    {
        auto& slot = instance();
        const std::lock_guard lock {slot.m_mutex};
        std::swap(slot.m_service, service);
        return service;
    }

private:
    static ServiceSlot& instance()
    {
        static auto& slot = *new ServiceSlot;
        return slot;
    }

    std::mutex m_mutex;
    std::shared_ptr<Service> m_service;
};

} // namespace kova
