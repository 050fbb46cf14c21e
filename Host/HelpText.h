// What kova-host --help prints.

#pragma once

#include <string>

namespace kova::host {

/// The options and every command of a script, in lines of at most 80 columns.
[[nodiscard]] std::string helpText();

} // namespace kova::host
