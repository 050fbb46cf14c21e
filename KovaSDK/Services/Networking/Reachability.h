// Watches whether a host can be reached, and announces every change of the flags as "FlagsChanged".
//
// Changes are announced on the main queue, the first state after the start on "ReachabilityQueue". The monitor is made
// and held by KovaNetworkTracker; it watches from its creation until it is released, which may happen on its own queue.
// Threads: any; `reachabilityFlags` and `isRunning` are atomic.

#pragma once

#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kova {

class Reachability : public std::enable_shared_from_this<Reachability> {
public:
    /// Watches a host from now on. Throws KovaNetwork::Error: `failedToCreateWith` when the name cannot be one,
    /// `failedToSetCallout` or `failedToSetDispatchQueue` when the platform refuses. The queue is the monitor's own; a
    /// caller that suspends it holds back every announcement.
    [[nodiscard]] static std::shared_ptr<Reachability> create(
        const std::string& hostname, std::shared_ptr<DispatchQueue> queue = createQueue());
    /// A queue for one monitor, with its label.
    [[nodiscard]] static std::shared_ptr<DispatchQueue> createQueue();
    ~Reachability();
    Reachability(const Reachability&) = delete;
    Reachability& operator=(const Reachability&) = delete;

    /// Installs callback and queue; does nothing when they are, or when an earlier start has failed.
    void start();

    /// Reads the flags and announces them when they differ from the last ones.
    void flagsChanged();

    /// Whether the host can be reached now. The flags are read afresh at each step: contract.
    [[nodiscard]] bool isConnectedToNetwork() const;
    /// Whether it can be reached now, and not over a cellular link.
    [[nodiscard]] bool isReachableViaWiFi() const;

    std::optional<std::string> hostname;
    std::atomic<bool> isRunning = false;
    /// What isConnectedToNetwork says of a cellular link.
    std::atomic<bool> isReachableOnWWAN = true;
    /// The last flags that flagsChanged() has seen.
    std::atomic<SCNetworkReachabilityFlags> reachabilityFlags = 0;
    std::shared_ptr<DispatchQueue> reachabilitySerialQueue;
    std::atomic<bool> isRunningOnDevice = true;

    /// The platform's target; null after a failed start.
    [[nodiscard]] std::shared_ptr<SCNetworkReachability> reachability() const;

private:
    explicit Reachability(std::shared_ptr<DispatchQueue> queue);

    void stop();
    /// The flags as of now; none when there is no target or they cannot be read.
    [[nodiscard]] std::optional<SCNetworkReachabilityFlags> readFlags() const;

    mutable std::mutex m_mutex;
    std::shared_ptr<SCNetworkReachability> m_reachability;
};

/// The platform's callback: hops to the main queue, where the monitor, if it still lives, looks at the flags itself.
void callout(SCNetworkReachability& reachability, SCNetworkReachabilityFlags flags, const std::weak_ptr<void>& info);

} // namespace kova
