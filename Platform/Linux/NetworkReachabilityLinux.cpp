#include "Platform/Linux/NetworkReachabilityLinux.h"

#include "Platform/Linux/NetworkWatcher.h"
#include "Platform/Linux/RouteQuery.h"
#include "Platform/Linux/RouteTarget.h"
#include "Platform/Posix/HostName.h"

#include <utility>

namespace kova {

NetworkReachabilityLinux::NetworkReachabilityLinux()
    : NetworkReachabilityLinux(Options {})
{
}

NetworkReachabilityLinux::NetworkReachabilityLinux(Options options)
    : m_routes(std::make_shared<RouteQuery>(std::move(options.sysfsRoot)))
    , m_watcher(std::make_unique<NetworkWatcher>(std::move(options.nameServers)))
{
}

NetworkReachabilityLinux::~NetworkReachabilityLinux() = default;

std::shared_ptr<SCNetworkReachability> NetworkReachabilityLinux::createWithName(const std::string& name)
{
    auto hostName = HostName::parse(name);
    if (!hostName)
        return nullptr;
    const auto watched = m_watcher->isWatching() ? RouteTarget::Watched::yes : RouteTarget::Watched::no;
    auto target = std::make_shared<RouteTarget>(std::move(*hostName), m_routes, watched);
    m_watcher->add(target);
    return target;
}

void NetworkReachabilityLinux::end()
{
    m_watcher->end();
}

} // namespace kova
