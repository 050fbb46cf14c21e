// Whether somebody holds the store for so long that the application would notice.

#pragma once

#include "Host/Doctor/Report.h"

#include <filesystem>

namespace kova::host {

/// Looks again and again for at most a second, and takes no lock that others could notice for longer than an instant.
/// To be called while this process does not have the database open: closing a file lets go of all its locks.
void checkLocks(const std::filesystem::path& folder, Report& report);

} // namespace kova::host
