// The inbox as bytes: a binary property list, an array of dictionaries with the records' keys.
//
// Records are coded directly, without a tree of values between: the inbox is coded at every push. The bytes are those
// that PropertyListEncoder makes of the records' values, and lists of other forms are left to PropertyListDecoder.
// Threads: any.

#pragma once

#include "KovaSDK/Push/PushModel/KovaNotification.h"
#include "Platform/Foundation/Data.h"

#include <optional>
#include <string_view>
#include <vector>

namespace kova::InboxCoder {

/// Nothing when a text is not valid UTF-8.
[[nodiscard]] std::optional<Data> encode(const std::vector<KovaNotification>& records);

/// Nothing when the bytes are no property list, binary or XML, or anything in them is no record.
[[nodiscard]] std::optional<std::vector<KovaNotification>> decode(std::string_view bytes);

} // namespace kova::InboxCoder
