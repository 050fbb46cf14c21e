// What a link message and sysfs say about reachability.

#include "Platform/Linux/NetworkLink.h"
#include "Tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_arp.h>

#include <filesystem>
#include <fstream>
#include <vector>

namespace kova::tests {
namespace {

constexpr auto reachable = kSCNetworkReachabilityFlagsReachable;
constexpr auto cellular = kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsIsWWAN;

TEST(NetworkLinkTest, TellsReachabilityFromTheLinkMessageAndSysfs)
{
    constexpr unsigned up = IFF_UP | IFF_RUNNING | IFF_LOWER_UP;
    struct Case {
        const char* description;
        NetworkLink link;
        const char* properties;
        SCNetworkReachabilityFlags expected;
    };
    const std::vector<Case> cases {
        {"ethernet", {"eth0", ARPHRD_ETHER, up}, "INTERFACE=eth0\nIFINDEX=2\n", reachable},
        {"wireless network", {"wlan0", ARPHRD_ETHER, up}, "DEVTYPE=wlan\nINTERFACE=wlan0\n", reachable},
        {"modem that looks like ethernet", {"usb0", ARPHRD_ETHER, up}, "DEVTYPE=wwan\nINTERFACE=usb0\n", cellular},
        {"last line without newline", {"usb0", ARPHRD_ETHER, up}, "INTERFACE=usb0\nDEVTYPE=wwan", cellular},
        {"other kind that begins alike", {"usb0", ARPHRD_ETHER, up}, "DEVTYPE=wwan2\nXDEVTYPE=wwan\n", reachable},
        {"unknown to sysfs", {"eth0", ARPHRD_ETHER, up}, nullptr, reachable},
        {"a name alone makes no modem", {"wwan0", ARPHRD_ETHER, up}, nullptr, reachable},
        {"dial-up", {"ppp0", ARPHRD_PPP, up}, nullptr, cellular},
        {"raw IP", {"wwan0", ARPHRD_RAWIP, up}, nullptr, cellular},
        {"loopback", {"lo", ARPHRD_LOOPBACK, IFF_LOOPBACK | up}, nullptr, reachable},
        {"down", {"eth0", ARPHRD_ETHER, IFF_LOWER_UP}, nullptr, 0},
        {"without carrier", {"eth0", ARPHRD_ETHER, IFF_UP}, nullptr, 0},
        {"modem without carrier", {"ppp0", ARPHRD_PPP, IFF_UP}, nullptr, 0},
    };
    for (const auto& [description, link, properties, expected] : cases) {
        SCOPED_TRACE(description);
        const TemporaryFolder sysfs;
        if (properties) {
            const auto folder = sysfs.path() / "class" / "net" / link.name;
            std::filesystem::create_directories(folder);
            std::ofstream {folder / "uevent"} << properties;
        }
        EXPECT_EQ(link.reachability(sysfs.path()), expected);
    }
}

} // namespace
} // namespace kova::tests
