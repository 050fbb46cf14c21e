// Reachability as the kernel's routing sees it, over rtnetlink.
//
// A host's flags are those of the route that a packet to it would take now; while its name is not known to resolve, the
// default route stands for it. Names are resolved in the background, again after each change of the network, and no
// read ever waits for that. Threads: any. Once ended, targets still read their flags, and tell nobody.

#pragma once

#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <filesystem>
#include <memory>
#include <string>

namespace kova {

class NetworkWatcher;
class RouteQuery;

class NetworkReachabilityLinux final : public NetworkReachability {
public:
    struct Options {
        std::filesystem::path sysfsRoot = "/sys";
        /// Name servers to ask, as addresses with optional ports, separated by commas; those of the system when empty.
        std::string nameServers {};
    };

    NetworkReachabilityLinux();
    explicit NetworkReachabilityLinux(Options options);
    ~NetworkReachabilityLinux() override;

    [[nodiscard]] std::shared_ptr<SCNetworkReachability> createWithName(const std::string& name) override;

    /// Ends the thread and whatever is being resolved; returns at once when that has happened before.
    void end() override;

private:
    std::shared_ptr<RouteQuery> m_routes;
    std::unique_ptr<NetworkWatcher> m_watcher;
};

} // namespace kova
