#include "Platform/Foundation/JSONSerialization.h"

namespace kova {

namespace {

class JSONErrorCategory final : public std::error_category {
public:
    [[nodiscard]] const char* name() const noexcept override { return "JSONError"; }
    [[nodiscard]] std::string message(int code) const override
    {
        switch (static_cast<JSONError>(code)) {
        case JSONError::malformed:
            return "The text is not valid JSON";
        case JSONError::notUTF8:
            return "The text is not valid UTF-8";
        case JSONError::nestedTooDeep:
            return "The JSON has too many arrays and objects inside one another";
        case JSONError::notFinite:
            return "JSON cannot hold an infinite or not-a-number value";
        case JSONError::notRepresentable:
            return "JSON cannot hold a value of this type";
        }
        return "Unknown JSON error";
    }
};

} // namespace

std::error_code make_error_code(JSONError error)
{
    // Never destroyed: a thread may still ask for a text while main's statics go away.
    static const auto& category = *new JSONErrorCategory;
    return {static_cast<int>(error), category};
}

} // namespace kova
