// The script command "event": makes an event of any kind, fills it and saves it.

#pragma once

#include "Host/ScriptCommand.h"
#include "Platform/Foundation/Value.h"

namespace kova::host {

/// Makes the event that the fields describe and saves it. {"saved":true}, or {"saved":false,"error":…}. Throws
/// ScriptError.
[[nodiscard]] Value::Dictionary saveEvent(const ScriptCommand& command);

} // namespace kova::host
