// Whether the web services answer: name, connection, TLS, HTTP, and the clock.

#pragma once

#include "Host/Doctor/Report.h"
#include "Platform/Foundation/ServiceAddresses.h"

#include <chrono>
#include <stop_token>

namespace kova::host {

/// Asks each base URL with a HEAD request over the HTTP session that the SDK uses, all at once. Nothing is posted, so
/// no service counts it as an event or a metric.
void checkServices(const ServiceAddresses& addresses, std::chrono::duration<double> timeout,
    const std::stop_token& stop, Report& report);

} // namespace kova::host
