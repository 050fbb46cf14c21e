#include "Host/Doctor/NetworkCheck.h"
#include "Platform/QtDevice/NetworkReachabilityQt.h"

namespace kova::host {

void checkNetwork(std::chrono::duration<double> /*timeout*/, const std::stop_token& /*stop*/, Report& report)
{
    const std::string watched = KOVA_REACHABILITY_HOST;
    report.section("Network: is " + watched + " reachable?");
    NetworkReachabilityQt service;
    const auto target = service.createWithName(watched);
    if (!target) {
        report.wrong("this is no host name, so there is no reachability monitor, and save() stops the process",
            "Build with another KOVA_REACHABILITY_HOST.");
        return;
    }
    if (!target->setCallback([](auto&, auto, const auto&) { }, {}))
        report.wrong("changes of the network cannot be noticed: no thread can be started", "Allow more threads.");
    const auto flags = target->flags().value_or(0);
    if ((flags & kSCNetworkReachabilityFlagsReachable) == 0)
        report.wrong("the SDK says \"unreachable\": the device has no network; events are kept, not sent",
            "Connect the device to a network.");
    else if ((flags & kSCNetworkReachabilityFlagsIsWWAN) != 0)
        report.fine("the SDK says \"wwan\": reachable over a cellular link");
    else
        report.fine("the SDK says \"wifi\": reachable over Wi-Fi or by wire");
}

} // namespace kova::host
