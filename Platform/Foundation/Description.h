// How values look in the log. Texts from outside are escaped, so that no payload can forge a log line.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace kova {

/// The text as it stands, but with control characters, line separators, controls of the writing direction and invisible
/// characters escaped (\n, \t, \u{1B}, \u{202E}, \u{200B}) and ill-formed UTF-8 replaced: it stays on one line and
/// reads in the order of its bytes.
KOVA_EXPORT [[nodiscard]] std::string singleLine(std::string_view text);

/// Like singleLine(), in quotes, with quotes and backslashes escaped: "say \"olá\"".
KOVA_EXPORT [[nodiscard]] std::string debugDescription(std::string_view text);

/// Optional("text") or nil.
KOVA_EXPORT [[nodiscard]] std::string description(const std::optional<std::string>& text);
KOVA_EXPORT void appendDescription(std::string& description, const std::optional<std::string>& text);

/// The bytes decoded as UTF-8, as an optional: Optional("text"), or nil when they are not valid UTF-8.
KOVA_EXPORT [[nodiscard]] std::string decodedDescription(const Data& data);

/// A value at top level: a text stands bare (on one line), <null> for null, the number of bytes for data; inside an
/// array
/// ([1, "a"]) or a dictionary (["key": "a"]) texts are quoted.
KOVA_EXPORT [[nodiscard]] std::string description(const Value& value);

} // namespace kova
