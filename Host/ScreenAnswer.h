// What stands on the screen, as one JSON object (see docs/formats.md).

#pragma once

#include "Host/HostWindow.h"
#include "Platform/Foundation/Value.h"

namespace kova::host {

/// Of what is on top: the host's screen, the list, the detail, an alert or the browser. The window must be laid out.
[[nodiscard]] Value::Dictionary screenAnswer(HostWindow& window);

} // namespace kova::host
