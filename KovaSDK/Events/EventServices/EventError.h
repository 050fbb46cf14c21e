// How saving an event can fail. Hosts get it as a thrown std::system_error; only `eventCantBeTransformedInJson` is ever
// raised.

#pragma once

#include "Platform/Foundation/Export.h"

#include <system_error>

namespace kova {

enum class EventError {
    eventCantBeSaved = 1,
    eventCantBeTransformedInJson,
    eventCantBeStored,
    eventCantBePublished,
    postCannotBePerformed,
    storageCannotBePerformed,
};

[[nodiscard]] KOVA_EXPORT std::error_code make_error_code(EventError error);

} // namespace kova

template <> struct std::is_error_code_enum<kova::EventError> : std::true_type { };
