#include "KovaSDK/Extensions/String.h"

#include "Platform/Foundation/JSONSerialization.h"

namespace kova {

std::optional<Value> toJSON(std::string_view text)
{
    auto value = JSONSerialization::jsonObject(text);
    return value ? std::optional {*std::move(value)} : std::nullopt;
}

} // namespace kova
