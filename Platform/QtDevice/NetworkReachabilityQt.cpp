#include "Platform/QtDevice/NetworkReachabilityQt.h"

#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/ThreadHook.h"
#include "Platform/Posix/HostName.h"
#include "Platform/SystemConfiguration/ReachabilityTarget.h"

#include <QCoreApplication>
#include <QNetworkInformation>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <system_error>

namespace kova {

namespace {

class DeviceTarget final : public ReachabilityTarget {
public:
    /// Without a network the host is this machine itself.
    DeviceTarget(std::shared_ptr<DeviceNetwork> network, Watched watched)
        : ReachabilityTarget(watched)
        , m_network(std::move(network))
    {
    }

    [[nodiscard]] std::optional<SCNetworkReachabilityFlags> flags() override
    {
        return m_network ? m_network->flags() : kSCNetworkReachabilityFlagsReachable;
    }

private:
    const std::shared_ptr<DeviceNetwork> m_network;
};

bool isThisMachine(const HostName& name)
{
    const auto addresses = name.fixedAddresses();
    return !addresses.empty() && std::ranges::all_of(addresses, &HostAddress::isLoopback);
}

std::optional<SCNetworkReachabilityFlags> announcedFlags(const QNetworkInformation& information)
{
    switch (information.reachability()) {
    case QNetworkInformation::Reachability::Site:
    case QNetworkInformation::Reachability::Online:
        return information.transportMedium() == QNetworkInformation::TransportMedium::Cellular
            ? kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsIsWWAN
            : kSCNetworkReachabilityFlagsReachable;
    case QNetworkInformation::Reachability::Disconnected:
    // A link without a default route.
    case QNetworkInformation::Reachability::Local:
        return 0;
    default:
        return std::nullopt;
    }
}

} // namespace

NetworkReachabilityQt::NetworkReachabilityQt()
{
    m_isWatching = listenToBackend();
    if (m_isWatching)
        return;
    try {
        m_watch = std::jthread {[this](const std::stop_token& stop) { watchInterfaces(stop); }};
        m_isWatching = true;
    } catch (const std::system_error& failure) {
        complain(std::string {"KovaSDK: no thread can be started for the network's changes, which go unnoticed: "}
            + failure.what());
    }
}

NetworkReachabilityQt::~NetworkReachabilityQt()
{
    end();
}

bool NetworkReachabilityQt::listenToBackend()
{
    const auto* application = QCoreApplication::instance();
    if (!application || application->thread() != QThread::currentThread())
        return false;
    // The host may have loaded one already.
    QNetworkInformation::loadDefaultBackend();
    const auto* information = QNetworkInformation::instance();
    if (!information || !information->supports(QNetworkInformation::Feature::Reachability))
        return false;
    m_listener = std::make_unique<QObject>();
    const auto changed = [this, information] {
        m_network->announce(announcedFlags(*information));
        evaluate();
    };
    QObject::connect(information, &QNetworkInformation::reachabilityChanged, m_listener.get(), changed);
    QObject::connect(information, &QNetworkInformation::transportMediumChanged, m_listener.get(), changed);
    m_network->announce(announcedFlags(*information));
    return true;
}

// Interfaces announce nothing that Qt would pass on, so they are looked at again and again.
void NetworkReachabilityQt::watchInterfaces(const std::stop_token& stop)
{
    constexpr std::chrono::seconds pause {1};
    announceThread("Reachability");
    std::condition_variable_any stopped;
    std::mutex mutex;
    std::unique_lock lock {mutex};
    while (!stopped.wait_for(lock, stop, pause, [&] { return stop.stop_requested(); }))
        evaluate();
}

void NetworkReachabilityQt::evaluate()
{
    std::vector<std::weak_ptr<ReachabilityTarget>> targets;
    {
        const std::lock_guard lock {m_mutex};
        std::erase_if(m_targets, [](const auto& target) { return target.expired(); });
        targets = m_targets;
    }
    for (const auto& weak : targets) {
        if (const auto target = weak.lock())
            target->evaluate();
    }
}

std::shared_ptr<SCNetworkReachability> NetworkReachabilityQt::createWithName(const std::string& name)
{
    const auto hostName = HostName::parse(name);
    if (!hostName)
        return nullptr;
    const auto watched = m_isWatching ? ReachabilityTarget::Watched::yes : ReachabilityTarget::Watched::no;
    const auto target = std::make_shared<DeviceTarget>(isThisMachine(*hostName) ? nullptr : m_network, watched);
    const std::lock_guard lock {m_mutex};
    m_targets.emplace_back(target);
    return target;
}

void NetworkReachabilityQt::end()
{
    m_listener.reset();
    if (m_watch.joinable()) {
        m_watch.request_stop();
        m_watch.join();
    }
}

} // namespace kova
