#include "Platform/SystemConfiguration/ReachabilityTarget.h"

#include <utility>

namespace kova {

ReachabilityTarget::ReachabilityTarget(Watched watched)
    : m_watched(watched)
{
}

bool ReachabilityTarget::setCallback(SCNetworkReachabilityCallBack callback, SCNetworkReachabilityContext context)
{
    if (callback && m_watched == Watched::no)
        return false;
    // What is replaced goes after the lock: it may be the last of something that calls back here.
    const std::lock_guard lock {m_mutex};
    m_callback = callback;
    std::swap(m_context, context);
    install();
    return true;
}

bool ReachabilityTarget::setDispatchQueue(std::shared_ptr<DispatchQueue> queue)
{
    if (queue && m_watched == Watched::no)
        return false;
    const std::lock_guard lock {m_mutex};
    std::swap(m_queue, queue);
    install();
    return true;
}

void ReachabilityTarget::install()
{
    ++m_installation;
    if (m_callback && m_queue)
        m_told = flags();
}

void ReachabilityTarget::evaluate()
{
    std::shared_ptr<DispatchQueue> queue;
    DispatchQueue::Task task;
    {
        const std::lock_guard lock {m_mutex};
        if (!m_callback || !m_queue)
            return;
        const auto now = flags();
        if (!now || now == m_told)
            return;
        m_told = now;
        queue = m_queue;
        task = [weak = weak_from_this(), installation = m_installation, flags = *now] {
            if (const auto target = weak.lock())
                target->call(installation, flags);
        };
    }
    queue->async(std::move(task));
}

void ReachabilityTarget::call(std::uint64_t installation, SCNetworkReachabilityFlags flags)
{
    SCNetworkReachabilityCallBack callback = nullptr;
    std::weak_ptr<void> info;
    {
        const std::lock_guard lock {m_mutex};
        if (installation != m_installation || !m_callback)
            return;
        callback = m_callback;
        info = m_context.info;
    }
    callback(*this, flags, info);
}

} // namespace kova
