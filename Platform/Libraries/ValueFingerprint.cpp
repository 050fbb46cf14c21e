#include "Platform/Libraries/ValueFingerprint.h"

#include <algorithm>
#include <functional>
#include <string_view>

namespace kova {

namespace {

std::size_t hashOf(const Value& value)
{
    const auto* data = value.as<Data>();
    return data ? std::hash<std::string_view> {}(data->text()) : 0;
}

} // namespace

ValueFingerprint::ValueFingerprint(const std::optional<Value>& value)
{
    if (!value)
        return;
    if (const auto* data = value->as<Data>()) {
        m_size = data->size() + 1;
        m_hash = hashOf(*value);
        return;
    }
    const auto* array = value->as<Value::Array>();
    if (!array) {
        m_value.emplace(*value);
        return;
    }
    constexpr std::size_t lastElements = 2;
    constexpr std::size_t factor = 31;
    m_size = array->size() + 1;
    m_hash = 1;
    if (!array->empty())
        m_hash += hashOf((*array)[0]);
    for (auto index = array->size() - std::min(lastElements, array->size()); index < array->size(); ++index)
        m_hash = factor * m_hash + hashOf((*array)[index]);
}

} // namespace kova
