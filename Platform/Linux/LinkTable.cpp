#include "Platform/Linux/LinkTable.h"

#include "Platform/Linux/NetworkLink.h"

#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

namespace kova {

namespace {

std::optional<NetworkLink> parseLink(const nlmsghdr& message)
{
    if (message.nlmsg_type != RTM_NEWLINK || mnl_nlmsg_get_payload_len(&message) < sizeof(ifinfomsg))
        return std::nullopt;
    const auto* info = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(&message));
    NetworkLink link {.name = {}, .type = info->ifi_type, .flags = info->ifi_flags};
    const auto* end = static_cast<const char*>(mnl_nlmsg_get_payload_tail(&message));
    const auto* attribute = static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(&message, sizeof(ifinfomsg)));
    for (; mnl_attr_ok(attribute, static_cast<int>(end - reinterpret_cast<const char*>(attribute)));
        attribute = mnl_attr_next(attribute)) {
        if (mnl_attr_get_type(attribute) == IFLA_IFNAME && mnl_attr_validate(attribute, MNL_TYPE_NUL_STRING) == 0)
            link.name = mnl_attr_get_str(attribute);
    }
    return link;
}

} // namespace

LinkTable::LinkTable(std::filesystem::path sysfsRoot)
    : m_sysfsRoot(std::move(sysfsRoot))
    , m_changes({RTNLGRP_LINK})
{
}

std::optional<SCNetworkReachabilityFlags> LinkTable::reachability(int index, NetlinkSocket& questions)
{
    forgetWhatChanged();
    if (const auto known = std::ranges::find(m_entries, index, &Entry::index); known != m_entries.end())
        return known->flags;

    alignas(nlmsghdr) std::array<std::byte, 64> buffer {};
    auto* request = mnl_nlmsg_put_header(buffer.data());
    request->nlmsg_type = RTM_GETLINK;
    static_cast<ifinfomsg*>(mnl_nlmsg_put_extra_header(request, sizeof(ifinfomsg)))->ifi_index = index;
    mnl_attr_put_u32(request, IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS);
    const auto answer = questions.ask(*request);
    if (!answer && answer.error() == ENODEV)
        return 0;
    const auto link = answer ? parseLink(**answer) : std::nullopt;
    if (!link)
        return std::nullopt;
    const auto flags = link->reachability(m_sysfsRoot);
    // What cannot be heard of must not be remembered.
    if (m_changes.isOpen())
        m_entries.push_back({.index = index, .flags = flags});
    return flags;
}

void LinkTable::forgetWhatChanged()
{
    while (true) {
        const auto batch = m_changes.receive();
        if (!batch) {
            if (batch.error() == EAGAIN)
                return;
            m_entries.clear();
            if (batch.error() == ENOBUFS)
                continue;
            return;
        }
        auto left = static_cast<int>(batch->size());
        for (const auto* message = reinterpret_cast<const nlmsghdr*>(batch->data()); mnl_nlmsg_ok(message, left);
            message = mnl_nlmsg_next(message, &left)) {
            if (mnl_nlmsg_get_payload_len(message) < sizeof(ifinfomsg))
                continue;
            const auto index = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(message))->ifi_index;
            std::erase_if(m_entries, [index](const Entry& entry) { return entry.index == index; });
        }
    }
}

} // namespace kova
