#include "Platform/Foundation/Value.h"

namespace kova {

const Value* Value::find(std::string_view key) const
{
    const auto* dictionary = as<Dictionary>();
    if (!dictionary)
        return nullptr;
    const auto entry = dictionary->find(key);
    return entry == dictionary->end() ? nullptr : &entry->second;
}

bool operator==(const Value& left, const Value& right)
{
    const auto* leftDictionary = left.as<Value::Dictionary>();
    const auto* rightDictionary = right.as<Value::Dictionary>();
    if (leftDictionary && rightDictionary)
        return leftDictionary == rightDictionary || *leftDictionary == *rightDictionary;
    return left.m_value == right.m_value;
}

} // namespace kova
