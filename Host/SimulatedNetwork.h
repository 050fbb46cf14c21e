// A network that a script switches: every status can be played without a radio.
//
// Threads: any.

#pragma once

#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace kova::host {

class SimulatedNetwork final : public NetworkReachability {
public:
    /// "wifi", "wwan" or "offline"; false for anything else. Targets are told on their queues when the flags change.
    [[nodiscard]] bool setStatus(std::string_view status);

    [[nodiscard]] std::shared_ptr<SCNetworkReachability> createWithName(const std::string& name) override;

private:
    class Target;

    std::mutex m_mutex;
    SCNetworkReachabilityFlags m_flags = 0;
    std::vector<std::weak_ptr<Target>> m_targets;
};

} // namespace kova::host
