#include "Host/Doctor/Doctor.h"

#include "Host/Doctor/ConfigurationCheck.h"
#include "Host/Doctor/NetworkCheck.h"
#include "Host/Doctor/Report.h"
#include "Host/Doctor/ServiceCheck.h"
#include "Host/Doctor/StoreCheck.h"

#include <chrono>
#include <cstdio>

namespace kova::host {

int runDoctor(const Options& options, const std::stop_token& stop)
{
    constexpr int somethingWrong = 1;
    const std::chrono::duration<double> timeout {options.timeoutSeconds};
    Report report;
    checkConfiguration(options.bundle, report);
    checkStore(options.data / options.identifier, report);
    checkNetwork(timeout, stop, report);
    if (!stop.stop_requested())
        checkServices(options.serviceAddresses(), timeout, stop, report);
    if (stop.stop_requested()) {
        std::fputs("kova-host: interrupted\n", stderr);
        return somethingWrong;
    }
    report.summary();
    return report.wrongs() == 0 ? 0 : somethingWrong;
}

} // namespace kova::host
