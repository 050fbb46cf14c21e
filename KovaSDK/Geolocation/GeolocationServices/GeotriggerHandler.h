// What becomes of one geotrigger: a tag at the push vendor and an upload, if its data is of the kind that they take.
//
// Inside the SDK only. Threads: any.

#pragma once

#include "Platform/Vendors/PlotProjects.h"

#include <functional>
#include <optional>
#include <string_view>

namespace kova {

/// Makes a value of a geotrigger's data text; none when it cannot.
using GeotriggerParser = std::function<std::optional<Value>(std::string_view text)>;

/// Handles one geotrigger. Its data must be a text that `parse` makes an object of texts, with at least one entry, and,
/// asked again, a byte buffer: the buffer is uploaded and the first entry becomes a tag. Anything else is skipped
/// without a word.
///
/// Parsed JSON is never a byte buffer, so with the platform's parser every geotrigger is skipped: contract. The parser
/// is a parameter so that a test reaches what lies behind. A geotrigger without user info stops the process.
void handleGeotrigger(const PlotGeotrigger& geotrigger, const GeotriggerParser& parse);

} // namespace kova
