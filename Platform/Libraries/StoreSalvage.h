// Reads a damaged store row by row, as far as that goes.
#pragma once

#include "Platform/Libraries/BusyTimeout.h"
#include "Platform/Libraries/StoreTables.h"

#include <filesystem>
#include <memory>
#include <string>

namespace kova {

/// Copies what can be read of a file that was set aside into fresh tables, and says what that was, for the log:
/// `"kova_buffer" (1980 elements), "kova_notification"`; empty when nothing was. The file stays as it is. An array
/// keeps the elements that can be read, in their order. Throws SQLiteFailure when the fresh tables cannot be written.
[[nodiscard]] std::string salvage(
    const std::filesystem::path& aside, StoreTables& fresh, const std::shared_ptr<const BusyTimeout>& timeout);

} // namespace kova
