#include "Host/Doctor/NetworkCheck.h"
#include "Host/Patience.h"
#include "Platform/Linux/HostResolver.h"
#include "Platform/Linux/NetworkReachabilityLinux.h"
#include "Platform/Linux/RouteQuery.h"
#include "Platform/Posix/HostName.h"

#include <poll.h>

#include <algorithm>
#include <vector>

namespace kova::host {

namespace {

std::vector<HostAddress> resolved(
    const HostName& name, std::chrono::duration<double> timeout, const std::stop_token& stop)
{
    constexpr int mostMs = 100;
    Patience patience {"resolving " + name.text(), timeout};
    HostResolver resolver {""};
    std::vector<HostAddress> addresses;
    bool isDone = false;
    resolver.resolve(name.text(), [&](std::vector<HostAddress> found) {
        addresses = std::move(found);
        isDone = true;
    });
    while (!isDone && !stop.stop_requested()) {
        const auto left = patience.untilNext();
        if (left.count() <= 0)
            break;
        std::vector<pollfd> descriptors;
        resolver.appendDescriptors(descriptors);
        const auto own = resolver.timeout().value_or(left);
        poll(descriptors.data(), descriptors.size(),
            static_cast<int>(std::min({left.count(), own.count(), std::int64_t {mostMs}})));
        resolver.process(descriptors);
        patience.sayIfDue();
    }
    return addresses;
}

bool canBeWatched(const std::string& name)
{
    NetworkReachabilityLinux service;
    const auto target = service.createWithName(name);
    return target && target->setCallback([](auto&, auto, const auto&) { }, {}) && target->setCallback(nullptr, {});
}

} // namespace

void checkNetwork(std::chrono::duration<double> timeout, const std::stop_token& stop, Report& report)
{
    const std::string watched = KOVA_REACHABILITY_HOST;
    report.section("Network: is " + watched + " reachable?");
    const auto name = HostName::parse(watched);
    if (!name) {
        report.wrong("this is no host name, so there is no reachability monitor, and save() stops the process",
            "Build with another KOVA_REACHABILITY_HOST.");
        return;
    }
    if (!canBeWatched(watched))
        report.wrong("changes of the network cannot be noticed: the kernel does not let this process listen",
            "Allow netlink sockets (systemd: AF_NETLINK in RestrictAddressFamilies).");

    auto addresses = name->fixedAddresses();
    if (name->isResolvable()) {
        addresses = resolved(*name, timeout, stop);
        if (addresses.empty())
            report.note("its name does not resolve, so the default route answers instead");
        else
            report.fine("its name resolves");
    } else if (addresses.empty()) {
        report.note("its top-level domain never resolves, so the default route answers instead");
    }

    RouteQuery routes {"/sys"};
    const auto flags = routes.reachability(addresses);
    if (!flags)
        report.wrong("the kernel cannot be asked for a route", "Allow netlink sockets in this sandbox.");
    else if ((*flags & kSCNetworkReachabilityFlagsReachable) == 0)
        report.wrong("the SDK says \"unreachable\": there is no route, or its link is down; events are kept, not sent",
            "Connect the device to a network; `ip route` and `ip link` show what there is.");
    else if ((*flags & kSCNetworkReachabilityFlagsIsWWAN) != 0)
        report.fine("the SDK says \"wwan\": reachable over a cellular link");
    else
        report.fine("the SDK says \"wifi\": reachable over Wi-Fi or by wire");
}

} // namespace kova::host
