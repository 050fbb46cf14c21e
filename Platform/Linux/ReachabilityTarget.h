// One host that is watched over rtnetlink: who is to be told, and what they were told last.
//
// The watcher holds it weakly and drives it; it may outlive the watcher, and then still reads its flags, but nobody is
// told any more. Threads: any, except where said; never calls anybody with its lock held.

#pragma once

#include "Platform/Linux/RouteQuery.h"
#include "Platform/Posix/HostAddress.h"
#include "Platform/Posix/HostName.h"
#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace kova {

class ReachabilityTarget final : public SCNetworkReachability, public std::enable_shared_from_this<ReachabilityTarget> {
public:
    /// Whether changes are noticed at all; where they are not, no callback can be installed.
    enum class Watched { no, yes };

    ReachabilityTarget(HostName name, std::shared_ptr<RouteQuery> routes, Watched watched);

    bool setCallback(SCNetworkReachabilityCallBack callback, SCNetworkReachabilityContext context) override;
    bool setDispatchQueue(std::shared_ptr<DispatchQueue> queue) override;
    [[nodiscard]] std::optional<SCNetworkReachabilityFlags> flags() override;

    [[nodiscard]] const HostName& name() const { return m_name; }

    /// What the name resolves to now; empty when it does not. For a name that a resolver may know.
    void setAddresses(std::vector<HostAddress> addresses);

    /// Tells the queue when the flags differ from what it was told last. To be called by one thread only, so that what
    /// is told stays in order.
    void evaluate();

private:
    /// Begins anew: a call that is on its way for an earlier callback or queue finds itself outdated.
    void install();
    void call(std::uint64_t installation, SCNetworkReachabilityFlags flags);

    const HostName m_name;
    const std::shared_ptr<RouteQuery> m_routes;
    const Watched m_watched;

    /// Guards what follows; taken before the route query's own.
    std::mutex m_mutex;
    std::vector<HostAddress> m_addresses;
    SCNetworkReachabilityCallBack m_callback = nullptr;
    SCNetworkReachabilityContext m_context;
    std::shared_ptr<DispatchQueue> m_queue;
    std::uint64_t m_installation = 0;
    std::optional<SCNetworkReachabilityFlags> m_told;
};

} // namespace kova
