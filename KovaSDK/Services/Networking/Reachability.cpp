#include "KovaSDK/Services/Networking/Reachability.h"

#include "KovaSDK/Services/Networking/KovaNetwork.h"
#include "KovaSDK/Services/NotificationName.h"
#include "Platform/Foundation/NotificationCenter.h"

namespace kova {

namespace {

bool contains(std::optional<SCNetworkReachabilityFlags> flags, SCNetworkReachabilityFlags wanted)
{
    return flags && (*flags & wanted) == wanted;
}

} // namespace

Reachability::Reachability(std::shared_ptr<DispatchQueue> queue)
    : reachabilitySerialQueue(std::move(queue))
{
}

std::shared_ptr<Reachability> Reachability::create(const std::string& hostname, std::shared_ptr<DispatchQueue> queue)
{
    const std::shared_ptr<Reachability> monitor {new Reachability {std::move(queue)}};
    auto target = NetworkReachability::shared()->createWithName(hostname);
    if (!target)
        throw KovaNetwork::Error::failedToCreateWith(hostname);
    {
        const std::lock_guard lock {monitor->m_mutex};
        monitor->m_reachability = std::move(target);
    }
    monitor->hostname = hostname;
    monitor->start();
    return monitor;
}

std::shared_ptr<DispatchQueue> Reachability::createQueue()
{
    return DispatchQueue::create("ReachabilityQueue");
}

Reachability::~Reachability()
{
    stop();
}

std::shared_ptr<SCNetworkReachability> Reachability::reachability() const
{
    const std::lock_guard lock {m_mutex};
    return m_reachability;
}

void Reachability::start()
{
    const auto target = reachability();
    if (!target || isRunning)
        return;
    if (!target->setCallback(&callout, {.version = 0, .info = weak_from_this()})) {
        stop();
        throw KovaNetwork::Error::failedToSetCallout();
    }
    if (!target->setDispatchQueue(reachabilitySerialQueue)) {
        stop();
        throw KovaNetwork::Error::failedToSetDispatchQueue();
    }
    reachabilitySerialQueue->async([weak = weak_from_this()] {
        if (const auto monitor = weak.lock())
            monitor->flagsChanged();
    });
    isRunning = true;
}

void Reachability::stop()
{
    std::shared_ptr<SCNetworkReachability> target;
    {
        const std::lock_guard lock {m_mutex};
        target = std::move(m_reachability);
    }
    if (target) {
        target->setCallback(nullptr, {});
        target->setDispatchQueue(nullptr);
    }
    isRunning = false;
}

std::optional<SCNetworkReachabilityFlags> Reachability::readFlags() const
{
    const auto target = reachability();
    return target ? target->flags() : std::nullopt;
}

void Reachability::flagsChanged()
{
    const auto flags = readFlags();
    if (!flags || reachabilityFlags.exchange(*flags) == *flags)
        return;
    NotificationCenter::default_().post({.name = NotificationName::flagsChanged, .object = this});
}

bool Reachability::isConnectedToNetwork() const
{
    if (!contains(readFlags(), kSCNetworkReachabilityFlagsReachable))
        return false;
    if (contains(readFlags(),
            kSCNetworkReachabilityFlagsTransientConnection | kSCNetworkReachabilityFlagsConnectionRequired))
        return false;
    if (isRunningOnDevice && contains(readFlags(), kSCNetworkReachabilityFlagsIsWWAN))
        return isReachableOnWWAN;
    return true;
}

bool Reachability::isReachableViaWiFi() const
{
    if (!contains(readFlags(), kSCNetworkReachabilityFlagsReachable))
        return false;
    if (!isRunningOnDevice)
        return false;
    return !contains(readFlags(), kSCNetworkReachabilityFlagsIsWWAN);
}

void callout(SCNetworkReachability&, SCNetworkReachabilityFlags, const std::weak_ptr<void>& info)
{
    if (info.expired())
        return;
    DispatchQueue::main().async([info] {
        if (const auto monitor = std::static_pointer_cast<Reachability>(info.lock()))
            monitor->flagsChanged();
    });
}

} // namespace kova
