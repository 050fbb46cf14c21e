// The script commands about geotriggers: start the geofencing vendor, have geotriggers fire, upload data.

#pragma once

#include "Host/HostCommands.h"
#include "Host/ScriptCommand.h"

namespace kova::host {

/// "geo-start": makes the context's KovaGeotrigger and starts it. Answers what the vendor has loaded. Throws
/// ScriptError.
void startGeotriggers(const ScriptCommand& command, HostContext& context);

/// "geotriggers": the geotriggers of the list fire together. Answers how many of them were marked handled. Waits for
/// the vendor's thread. Throws ScriptError.
void fireGeotriggers(const ScriptCommand& command, HostContext& context);

/// "geo-upload": uploads the data text as it stands. Answers what the completion got. Waits for the HTTP session's
/// thread. Throws ScriptError.
void uploadGeotrigger(const ScriptCommand& command, HostContext& context);

} // namespace kova::host
