// Whether the folder and the database behind user defaults can be used, and what is in them; nothing is changed.

#pragma once

#include "Host/Doctor/Report.h"

#include <filesystem>

namespace kova::host {

/// The place is the application's own folder, the one with "defaults.sqlite".
void checkStore(const std::filesystem::path& place, Report& report);

} // namespace kova::host
