#include "Platform/Linux/ReachabilityTarget.h"

#include <utility>

namespace kova {

ReachabilityTarget::ReachabilityTarget(HostName name, std::shared_ptr<RouteQuery> routes, Watched watched)
    : m_name(std::move(name))
    , m_routes(std::move(routes))
    , m_watched(watched)
    , m_addresses(m_name.fixedAddresses())
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
        m_told = m_routes->reachability(m_addresses);
}

std::optional<SCNetworkReachabilityFlags> ReachabilityTarget::flags()
{
    const std::lock_guard lock {m_mutex};
    return m_routes->reachability(m_addresses);
}

void ReachabilityTarget::setAddresses(std::vector<HostAddress> addresses)
{
    const std::lock_guard lock {m_mutex};
    m_addresses = std::move(addresses);
}

void ReachabilityTarget::evaluate()
{
    std::shared_ptr<DispatchQueue> queue;
    DispatchQueue::Task task;
    {
        const std::lock_guard lock {m_mutex};
        if (!m_callback || !m_queue)
            return;
        const auto now = m_routes->reachability(m_addresses);
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
