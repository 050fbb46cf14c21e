#include "KovaSDK/Services/Networking/KovaNetwork.h"

#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/ServiceSlot.h"

#include <bit>

namespace kova {

namespace {

// The log's lines hold a line break after their first half.
constexpr const char* errorHeading = "NETWORK : Network error:\n";

} // namespace

std::shared_ptr<Reachability> KovaNetwork::reachability()
{
    return ServiceSlot<Reachability>::current();
}

void KovaNetwork::setReachability(std::shared_ptr<Reachability> monitor)
{
    ServiceSlot<Reachability>::exchange(std::move(monitor));
}

KovaNetwork::Status KovaNetwork::status()
{
    const auto monitor
        = ServiceSlot<Reachability>::required("there is no reachability monitor: the host must start the "
                                              "SDK with KovaNotify::initWithCallbacks before it saves "
                                              "events or checks the network");
    if (!monitor->isConnectedToNetwork())
        return Status::unreachable;
    if (monitor->isReachableViaWiFi())
        return Status::wifi;
    return monitor->isRunningOnDevice ? Status::wwan : Status::unreachable;
}

std::string_view rawValue(KovaNetwork::Status status)
{
    switch (status) {
    case KovaNetwork::Status::unreachable:
        return "unreachable";
    case KovaNetwork::Status::wwan:
        return "wwan";
    case KovaNetwork::Status::wifi:
        return "wifi";
    }
    return {};
}

std::string description(const SocketAddress& address)
{
    const auto bytes = std::bit_cast<std::array<std::uint8_t, 4>>(address.address);
    const auto port = std::bit_cast<std::array<std::uint8_t, 2>>(address.port);
    std::string text;
    for (const auto byte : bytes)
        text.append(text.empty() ? "" : ".").append(std::to_string(byte));
    return text.append(":").append(std::to_string(port[0] * 256 + port[1]));
}

KovaNetwork::Error::Error(Kind kind, const std::string& message)
    : m_kind(std::move(kind))
    , m_message(errorHeading + message)
{
}

KovaNetwork::Error KovaNetwork::Error::failedToCreateWith(std::string hostname)
{
    const auto message = "Failed to create reachability object With host named: " + singleLine(hostname);
    return {FailedToCreateWith {std::move(hostname)}, message};
}

KovaNetwork::Error KovaNetwork::Error::failedToInitializeWith(SocketAddress address)
{
    return {FailedToInitializeWith {address},
        "Failed to initialize reachability object With address: " + description(address)};
}

KovaNetwork::Error KovaNetwork::Error::failedToSetCallout()
{
    return {FailedToSetCallout {}, "Failed to set callout"};
}

KovaNetwork::Error KovaNetwork::Error::failedToSetDispatchQueue()
{
    return {FailedToSetDispatchQueue {}, "Failed to set DispatchQueue"};
}

} // namespace kova
