// The platform's network-reachability service: can packets reach a host, and over which kind of link?
//
// A platform derives from these classes; the Linux one asks the kernel over rtnetlink. Threads: every operation may be
// called from any thread; reading flags never waits for the network.

#pragma once

#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/Export.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kova {

/// A set of the flags below; the numbers are the platform's.
using SCNetworkReachabilityFlags = std::uint32_t;

/// The connection is made on demand, for example by dialling in.
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsTransientConnection = 1U << 0U;
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsReachable = 1U << 1U;
/// A connection must be made first.
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsConnectionRequired = 1U << 2U;
/// The link is cellular.
inline constexpr SCNetworkReachabilityFlags kSCNetworkReachabilityFlagsIsWWAN = 1U << 18U;

class SCNetworkReachability;

/// Called on the target's queue with the target, its flags, and the context's info.
using SCNetworkReachabilityCallBack
    = void (*)(SCNetworkReachability& reachability, SCNetworkReachabilityFlags flags, const std::weak_ptr<void>& info);

struct SCNetworkReachabilityContext {
    int version = 0;
    /// Handed to the callback; held weakly, so that it may go while a call is on its way.
    std::weak_ptr<void> info {};
};

/// One host that is watched.
class KOVA_EXPORT SCNetworkReachability {
public:
    virtual ~SCNetworkReachability() = default;

    /// Installs what is called when the flags may have changed, or removes it (null). False when that fails.
    virtual bool setCallback(SCNetworkReachabilityCallBack callback, SCNetworkReachabilityContext context) = 0;

    /// The serial queue for calls of the callback; without one (null) nothing is called. False when that fails. The
    /// queue may be suspended for now, so this must not wait for it.
    virtual bool setDispatchQueue(std::shared_ptr<DispatchQueue> queue) = 0;

    /// The flags as of now; none when they cannot be read.
    [[nodiscard]] virtual std::optional<SCNetworkReachabilityFlags> flags() = 0;
};

/// Makes targets.
class KOVA_EXPORT NetworkReachability {
public:
    virtual ~NetworkReachability() = default;

    /// The process-wide service. Without a platform the process stops, saying so.
    [[nodiscard]] static std::shared_ptr<NetworkReachability> shared();

    /// Replaces the process-wide service (none is allowed) and returns the one before.
    static std::shared_ptr<NetworkReachability> setShared(std::shared_ptr<NetworkReachability> service);

    /// A target for a host name; null for what cannot be one: empty, too long, with NUL or forbidden characters.
    [[nodiscard]] virtual std::shared_ptr<SCNetworkReachability> createWithName(const std::string& name) = 0;

    /// Ends whatever runs for the targets: they still read their flags, and no call begins any more. For the maker of
    /// the service; a repeated call does nothing.
    virtual void end() { }
};

} // namespace kova
