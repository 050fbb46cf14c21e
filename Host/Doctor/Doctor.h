// kova-host doctor: finds out why a host application of the SDK does not do what it should, and says so in plain words.
//
// It makes no platform and starts no vendor: it looks at what the SDK would use, with the same parts, and changes
// nothing.

#pragma once

#include "Host/Options.h"

#include <stop_token>

namespace kova::host {

/// The exit status: 0 when everything is fine, 1 when something is wrong, or the stop was requested.
[[nodiscard]] int runDoctor(const Options& options, const std::stop_token& stop);

} // namespace kova::host
