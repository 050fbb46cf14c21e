// What the push vendor makes of a raw payload: the JSON that reaches a device, decoded the vendor's way.

#pragma once

#include "Platform/Foundation/Value.h"
#include "Platform/Vendors/OneSignal.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kova::host {

/// JSON text as it may be handed on: ill-formed UTF-8 and escaped lone surrogates become U+FFFD. An inbox that cannot
/// be encoded would be erased, so such text is repaired here, at the border.
[[nodiscard]] std::string repairedJSON(std::string_view text);

/// The payload as the vendor hands it to handlers; null when it carries no id, which is how the vendor knows its own.
///
/// The id is "i", the launch URL "u" of "custom" or of "os_data"; additional data is "a" of "custom", or with "os_data"
/// every top-level entry but "aps" and "os_data". Texts come from "aps": its "alert" is the body, or an object of
/// title, subtitle and body. Legacy keys are ignored.
[[nodiscard]] std::shared_ptr<OSNotificationPayload> decodedPayload(const Value::Dictionary& rawPayload);

/// The opened result of a payload, as compact JSON. Of a payload that is nested too deep for that, only the texts.
[[nodiscard]] std::optional<std::string> stringifiedResult(
    const OSNotificationPayload& payload, const std::optional<std::string>& action);

} // namespace kova::host
