#include "KovaSDK/Events/EventServices/EventError.h"

#include <string>

namespace kova {

namespace {

class EventErrorCategory final : public std::error_category {
public:
    [[nodiscard]] const char* name() const noexcept override { return "KovaSDK.EventError"; }
    // The cases have no text of their own: this is the platform's default for an error value.
    [[nodiscard]] std::string message(int code) const override
    {
        return "The operation couldn't be completed. (KovaSDK.EventError error " + std::to_string(code - 1) + ".)";
    }
};

} // namespace

std::error_code make_error_code(EventError error)
{
    static const EventErrorCategory category;
    return {static_cast<int>(error), category};
}

} // namespace kova
