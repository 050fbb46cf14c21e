// Runs a host script, line by line.

#pragma once

#include "Host/HostCommands.h"
#include "Host/LineReader.h"

#include <string>

namespace kova::host {

/// The exit status that a script ends with.
enum class ScriptOutcome : int { Done = 0, Wrong = 2, NotSettled = 3 };

/// Runs one line. Throws what its command throws, and ScriptError when it is none. Not on the main queue.
void runLine(const std::string& line, HostContext& context);

/// Runs the lines until they end, one is wrong, or the host is interrupted. What is wrong is one line
/// "NAME:LINE: message" on standard error, and nothing after it runs. What was begun is waited for at the end. Commands
/// run on the main queue, so this must be called on another thread.
[[nodiscard]] ScriptOutcome runScript(const std::string& name, LineReader& lines, HostContext& context);

} // namespace kova::host
