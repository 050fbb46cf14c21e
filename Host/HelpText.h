// What kova-host --help prints.

#pragma once

#include <string>

namespace kova::host {

/// A folder with a Kova.plist to try the host with: that of the installation, or of the source, seen from its root.
[[nodiscard]] std::string exampleBundle();

/// The options and every command of a script, in lines of at most 80 columns, but for a long path.
[[nodiscard]] std::string helpText();

} // namespace kova::host
