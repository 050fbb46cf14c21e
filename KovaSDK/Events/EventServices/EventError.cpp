#include "KovaSDK/Events/EventServices/EventError.h"

#include <array>
#include <string>

namespace kova {

namespace {

// In the order of the enumeration, which begins with 1: zero means success in an error code.
constexpr std::array names {"eventCantBeSaved", "eventCantBeTransformedInJson", "eventCantBeStored",
    "eventCantBePublished", "postCannotBePerformed", "storageCannotBePerformed"};

class EventErrorCategory final : public std::error_category {
public:
    [[nodiscard]] const char* name() const noexcept override { return "KovaSDK.EventError"; }
    // The cases have no text of their own: the log would show their names.
    [[nodiscard]] std::string message(int code) const override
    {
        const bool isKnown = code >= 1 && static_cast<std::size_t>(code) <= names.size();
        return isKnown ? names.at(static_cast<std::size_t>(code) - 1) : "unknown error";
    }
};

} // namespace

std::error_code make_error_code(EventError error)
{
    // Never destroyed: a thread may still ask for a text while main's statics go away.
    static const auto& category = *new EventErrorCategory;
    return {static_cast<int>(error), category};
}

} // namespace kova
