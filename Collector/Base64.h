// Base64 (RFC 4648, padded): bytes that are no text, made fit for a JSON string.

#pragma once

#include <string>
#include <string_view>

namespace kova::collector {

[[nodiscard]] std::string base64(std::string_view bytes);

} // namespace kova::collector
