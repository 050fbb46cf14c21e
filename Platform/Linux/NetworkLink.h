// A network interface as the kernel's link message describes it, and what it means for reachability.

#pragma once

#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <filesystem>
#include <string>

namespace kova {

struct NetworkLink {
    std::string name;
    /// The hardware type (ARPHRD_…) and the flags (IFF_…), as in the message.
    unsigned type = 0;
    unsigned flags = 0;

    /// What a route over this link gives: nothing while it is down or has no carrier; else that the host is reachable,
    /// and whether over a cellular link. `sysfsRoot` is where sysfs is mounted: only there does the kernel tell that a
    /// modem behind an ordinary-looking interface is one.
    [[nodiscard]] SCNetworkReachabilityFlags reachability(const std::filesystem::path& sysfsRoot) const;
};

} // namespace kova
