// Whether the host's Kova.plist can be read and has everything in it.

#pragma once

#include "Host/Doctor/Report.h"

#include <filesystem>

namespace kova::host {

void checkConfiguration(const std::filesystem::path& bundle, Report& report);

} // namespace kova::host
