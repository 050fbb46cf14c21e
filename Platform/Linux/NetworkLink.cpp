#include "Platform/Linux/NetworkLink.h"

#include <linux/if.h>
#include <linux/if_arp.h>

#include <fstream>

namespace kova {

namespace {

// Links that are cellular by what travels on them: dial-up and raw IP, which modems speak.
bool isCellularType(unsigned type)
{
    return type == ARPHRD_PPP || type == ARPHRD_RAWIP;
}

bool isCellularDevice(const std::filesystem::path& sysfsRoot, const std::string& name)
{
    std::ifstream properties {sysfsRoot / "class" / "net" / name / "uevent"};
    for (std::string line; std::getline(properties, line);) {
        if (line == "DEVTYPE=wwan")
            return true;
    }
    return false;
}

} // namespace

SCNetworkReachabilityFlags NetworkLink::reachability(const std::filesystem::path& sysfsRoot) const
{
    // Without carrier the routes stay where they are, and lead nowhere.
    constexpr unsigned working = IFF_UP | IFF_LOWER_UP;
    if ((flags & working) != working)
        return 0;
    // A loop is no radio, whatever it is called.
    const bool isCellular = (flags & IFF_LOOPBACK) == 0 && (isCellularType(type) || isCellularDevice(sysfsRoot, name));
    return kSCNetworkReachabilityFlagsReachable | (isCellular ? kSCNetworkReachabilityFlagsIsWWAN : 0U);
}

} // namespace kova
