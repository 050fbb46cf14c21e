#include "Platform/Linux/RouteTarget.h"

#include <utility>

namespace kova {

RouteTarget::RouteTarget(HostName name, std::shared_ptr<RouteQuery> routes, Watched watched)
    : ReachabilityTarget(watched)
    , m_name(std::move(name))
    , m_routes(std::move(routes))
    , m_addresses(m_name.fixedAddresses())
{
}

std::optional<SCNetworkReachabilityFlags> RouteTarget::flags()
{
    const std::lock_guard lock {m_addressesMutex};
    return m_routes->reachability(m_addresses);
}

void RouteTarget::setAddresses(std::vector<HostAddress> addresses)
{
    const std::lock_guard lock {m_addressesMutex};
    m_addresses = std::move(addresses);
}

} // namespace kova
