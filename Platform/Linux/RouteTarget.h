// One host that is watched over rtnetlink: its flags are those of the route to its addresses. Threads: any.

#pragma once

#include "Platform/Linux/RouteQuery.h"
#include "Platform/Posix/HostAddress.h"
#include "Platform/Posix/HostName.h"
#include "Platform/SystemConfiguration/ReachabilityTarget.h"

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace kova {

class RouteTarget final : public ReachabilityTarget {
public:
    RouteTarget(HostName name, std::shared_ptr<RouteQuery> routes, Watched watched);

    [[nodiscard]] std::optional<SCNetworkReachabilityFlags> flags() override;

    [[nodiscard]] const HostName& name() const { return m_name; }

    /// What the name resolves to now; empty when it does not. For a name that a resolver may know.
    void setAddresses(std::vector<HostAddress> addresses);

private:
    const HostName m_name;
    const std::shared_ptr<RouteQuery> m_routes;

    /// Guards what follows; taken before the route query's own.
    std::mutex m_addressesMutex;
    std::vector<HostAddress> m_addresses;
};

} // namespace kova
