#include "Platform/Linux/RouteQuery.h"

#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>

#include <array>
#include <cerrno>
#include <utility>

namespace kova {

namespace {

// Addresses kept for documentation (RFC 5737, RFC 3849): nobody has them, so only a default route leads there.
constexpr std::array defaultRoutes {
    HostAddress {.family = HostAddress::Family::v4, .bytes = {192, 0, 2, 1}},
    HostAddress {
        .family = HostAddress::Family::v6, .bytes = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
};

// How the kernel says that no way leads there: none known, or one that is prohibited, a black hole, or of a family that
// it does not speak. Anything else means that it did not answer.
bool meansNoRoute(int error)
{
    switch (error) {
    case ENETUNREACH:
    case EHOSTUNREACH:
    case ENETDOWN:
    case ENODEV:
    case EACCES:
    case EINVAL:
    case EAFNOSUPPORT:
    case EOPNOTSUPP:
        return true;
    default:
        return false;
    }
}

bool leadsSomewhere(unsigned char routeType)
{
    return routeType == RTN_UNICAST || routeType == RTN_LOCAL || routeType == RTN_BROADCAST || routeType == RTN_ANYCAST
        || routeType == RTN_MULTICAST;
}

/// The index of the interface that the route goes out of; none when it goes nowhere.
std::optional<int> outputLink(const nlmsghdr& message)
{
    if (message.nlmsg_type != RTM_NEWROUTE || mnl_nlmsg_get_payload_len(&message) < sizeof(rtmsg)
        || !leadsSomewhere(static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&message))->rtm_type))
        return std::nullopt;
    const auto* end = static_cast<const char*>(mnl_nlmsg_get_payload_tail(&message));
    const auto* attribute = static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(&message, sizeof(rtmsg)));
    for (; mnl_attr_ok(attribute, static_cast<int>(end - reinterpret_cast<const char*>(attribute)));
        attribute = mnl_attr_next(attribute)) {
        if (mnl_attr_get_type(attribute) == RTA_OIF && mnl_attr_validate(attribute, MNL_TYPE_U32) == 0)
            return static_cast<int>(mnl_attr_get_u32(attribute));
    }
    return std::nullopt;
}

} // namespace

RouteQuery::RouteQuery(std::filesystem::path sysfsRoot)
    : m_links(std::move(sysfsRoot))
{
}

std::optional<SCNetworkReachabilityFlags> RouteQuery::reachability(std::span<const HostAddress> addresses)
{
    const std::lock_guard lock {m_mutex};
    bool isAnswered = false;
    for (const auto& address : addresses.empty() ? std::span<const HostAddress> {defaultRoutes} : addresses) {
        const auto flags = routeTo(address);
        if (flags && *flags != 0)
            return flags;
        isAnswered = isAnswered || flags;
    }
    return isAnswered ? std::optional<SCNetworkReachabilityFlags> {0} : std::nullopt;
}

std::optional<SCNetworkReachabilityFlags> RouteQuery::routeTo(const HostAddress& address)
{
    alignas(nlmsghdr) std::array<std::byte, 64> buffer {};
    auto* request = mnl_nlmsg_put_header(buffer.data());
    request->nlmsg_type = RTM_GETROUTE;
    auto* route = static_cast<rtmsg*>(mnl_nlmsg_put_extra_header(request, sizeof(rtmsg)));
    route->rtm_family = address.family == HostAddress::Family::v4 ? AF_INET : AF_INET6;
    route->rtm_dst_len = static_cast<unsigned char>(address.size() * 8);
    mnl_attr_put(request, RTA_DST, address.size(), address.bytes.data());
    const auto answer = m_questions.ask(*request);
    if (!answer)
        return meansNoRoute(answer.error()) ? std::optional<SCNetworkReachabilityFlags> {0} : std::nullopt;
    const auto index = outputLink(**answer);
    return index ? m_links.reachability(*index, m_questions) : 0;
}

} // namespace kova
