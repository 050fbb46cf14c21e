#include "Platform/QtDevice/DeviceNetwork.h"

#include <QNetworkInterface>
#include <algorithm>

namespace kova {

namespace {

// A link-local address is there without any network.
bool leadsOut(const QNetworkInterface& interface)
{
    constexpr auto up = QNetworkInterface::IsUp | QNetworkInterface::IsRunning;
    const auto flags = interface.flags();
    if ((flags & up) != up || (flags & QNetworkInterface::IsLoopBack) != 0)
        return false;
    return std::ranges::any_of(interface.addressEntries(), [](const QNetworkAddressEntry& entry) {
        return !entry.ip().isNull() && !entry.ip().isLoopback() && !entry.ip().isLinkLocal();
    });
}

} // namespace

SCNetworkReachabilityFlags DeviceNetwork::flags() const
{
    if (const auto announced = m_announced.load())
        return *announced;
    return std::ranges::any_of(QNetworkInterface::allInterfaces(), leadsOut) ? kSCNetworkReachabilityFlagsReachable : 0;
}

} // namespace kova
