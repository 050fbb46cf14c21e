// One host that is watched: the callback and queue that are installed, and the flags that were announced last.
//
// A platform's reachability service derives its targets from this, holds them weakly, and calls evaluate() after each
// change of the network. A target may outlive the service; then it still reads its flags, and announces nothing.
// Threads: any, except where said; never calls anybody with its lock held.

#pragma once

#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

namespace kova {

class ReachabilityTarget : public SCNetworkReachability, public std::enable_shared_from_this<ReachabilityTarget> {
public:
    /// Says if changes are noticed at all; where they are not, no callback can be installed.
    enum class Watched { no, yes };

    bool setCallback(SCNetworkReachabilityCallBack callback, SCNetworkReachabilityContext context) override;
    bool setDispatchQueue(std::shared_ptr<DispatchQueue> queue) override;

    /// Submits a call to the queue when the flags differ from those that were announced last. To be called by one
    /// thread only, so that calls stay in order.
    void evaluate();

protected:
    explicit ReachabilityTarget(Watched watched);

private:
    /// Begins anew: a call that is on its way for an earlier callback or queue finds itself outdated.
    void install();
    void call(std::uint64_t installation, SCNetworkReachabilityFlags flags);

    const Watched m_watched;

    /// Guards what follows. flags() is read with it held.
    std::mutex m_mutex;
    SCNetworkReachabilityCallBack m_callback = nullptr;
    SCNetworkReachabilityContext m_context;
    std::shared_ptr<DispatchQueue> m_queue;
    std::uint64_t m_installation = 0;
    std::optional<SCNetworkReachabilityFlags> m_told;
};

} // namespace kova
