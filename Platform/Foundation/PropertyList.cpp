#include "Platform/Foundation/PropertyList.h"

#include "Platform/Foundation/BinaryPropertyList.h"

namespace kova {

namespace {

class PropertyListErrorCategory final : public std::error_category {
public:
    [[nodiscard]] const char* name() const noexcept override { return "PropertyListError"; }
    [[nodiscard]] std::string message(int code) const override
    {
        switch (static_cast<PropertyListError>(code)) {
        case PropertyListError::malformed:
            return "The bytes are not a valid property list";
        case PropertyListError::tooComplex:
            return "The property list is nested too deep or unfolds to too many values";
        case PropertyListError::notRepresentable:
            return "A property list cannot hold null or text that is not valid UTF-8";
        }
        return "Unknown property-list error";
    }
};

} // namespace

std::error_code make_error_code(PropertyListError error)
{
    // Never destroyed: a thread may still ask for a text while main's statics go away.
    static const auto& category = *new PropertyListErrorCategory;
    return {static_cast<int>(error), category};
}

std::expected<Data, std::error_code> PropertyListEncoder::encode(const Value& value)
{
    return BinaryPropertyList::encode(value);
}

} // namespace kova
