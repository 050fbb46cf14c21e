// A path in a command that the doctor advises.

#pragma once

#include <string>

namespace kova::host {

/// The text as one word of a shell's command line: as it stands, or in quotes where the shell would make something else
/// of it.
[[nodiscard]] std::string shellWord(const std::string& text);

} // namespace kova::host
