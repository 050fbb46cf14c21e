// What the SDK would say of the network, and why.

#pragma once

#include "Host/Doctor/Report.h"

#include <chrono>
#include <stop_token>

namespace kova::host {

/// Asks the kernel, and the system's name servers for the host whose reachability is watched, so long at most.
void checkNetwork(std::chrono::duration<double> timeout, const std::stop_token& stop, Report& report);

} // namespace kova::host
