// The state of the device's network as Qt tells it.
//
// It is announced by the system's backend of Qt, or, where there is none, read from the network interfaces. Threads:
// any.

#pragma once

#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <atomic>
#include <optional>

namespace kova {

class DeviceNetwork {
public:
    /// Never waits: what was announced last, or one system call for the interfaces.
    [[nodiscard]] SCNetworkReachabilityFlags flags() const;

    /// Without flags the interfaces are read.
    void announce(std::optional<SCNetworkReachabilityFlags> flags) { m_announced = flags; }

private:
    std::atomic<std::optional<SCNetworkReachabilityFlags>> m_announced;
};

} // namespace kova
