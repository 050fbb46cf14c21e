// What each network interface gives, remembered until the kernel says that the interface has changed.
//
// Asking the kernel for an interface, and sysfs for its kind, costs more than the route query it belongs to. Before
// each use the table therefore hears, without waiting, what has changed since the last one, and forgets that.
// Threads: one at a time.

#pragma once

#include "Platform/Linux/NetlinkSocket.h"
#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <filesystem>
#include <optional>
#include <vector>

namespace kova {

class LinkTable {
public:
    explicit LinkTable(std::filesystem::path sysfsRoot);

    /// The flags of a route over the interface with this index; an interface that is not there gives none of them. No
    /// answer when it cannot be known. `questions` is the socket that the kernel is asked over.
    [[nodiscard]] std::optional<SCNetworkReachabilityFlags> reachability(int index, NetlinkSocket& questions);

private:
    struct Entry {
        int index = 0;
        SCNetworkReachabilityFlags flags = 0;
    };

    void forgetWhatChanged();

    const std::filesystem::path m_sysfsRoot;
    NetlinkSocket m_changes;
    /// Few and read all the time, so a list serves better than a map.
    std::vector<Entry> m_entries;
};

} // namespace kova
