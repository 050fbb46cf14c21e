// Reachability as Qt tells the device's: one state for every host but this machine itself.
//
// With an application object, Qt's backend for the system announces changes on the application's event loop; flags are
// those that were announced last. Without one, or where the system's service is missing, a thread reads the network
// interfaces every second, and flags are read from them: a link without a default route counts as a network then.
// Threads: made and ended by the application's thread, else any. Once ended, targets still read their flags.

#pragma once

#include "Platform/QtDevice/DeviceNetwork.h"

#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

class QObject;

namespace kova {

class ReachabilityTarget;

class NetworkReachabilityQt final : public NetworkReachability {
public:
    NetworkReachabilityQt();
    ~NetworkReachabilityQt() override;

    [[nodiscard]] std::shared_ptr<SCNetworkReachability> createWithName(const std::string& name) override;

    void end() override;

private:
    /// False when Qt has no backend that works here.
    [[nodiscard]] bool listenToBackend();
    void watchInterfaces(const std::stop_token& stop);
    void evaluate();

    const std::shared_ptr<DeviceNetwork> m_network = std::make_shared<DeviceNetwork>();

    std::mutex m_mutex;
    /// Guarded by m_mutex.
    std::vector<std::weak_ptr<ReachabilityTarget>> m_targets;

    /// Receives the backend's signals; null when there is none.
    std::unique_ptr<QObject> m_listener;
    std::jthread m_watch;
    /// Set by the constructor alone.
    bool m_isWatching = false;
};

} // namespace kova
