// Asks the kernel which way a packet would take now, and tells what that way gives.
//
// One request and one answer on a socket that stays open, a few microseconds. Threads: any; one mutex guards it all.

#pragma once

#include "Platform/Linux/LinkTable.h"
#include "Platform/Linux/NetlinkSocket.h"
#include "Platform/Posix/HostAddress.h"
#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <filesystem>
#include <mutex>
#include <optional>
#include <span>

namespace kova {

class RouteQuery {
public:
    explicit RouteQuery(std::filesystem::path sysfsRoot);

    /// The flags of the first of these addresses that can be reached, 0 when none can. Without addresses the default
    /// route answers. None only when the kernel cannot be asked.
    [[nodiscard]] std::optional<SCNetworkReachabilityFlags> reachability(std::span<const HostAddress> addresses);

private:
    [[nodiscard]] std::optional<SCNetworkReachabilityFlags> routeTo(const HostAddress& address);

    std::mutex m_mutex;
    NetlinkSocket m_questions;
    LinkTable m_links;
};

} // namespace kova
