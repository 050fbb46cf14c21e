// A dictionary key of any hashable type, as launch options, settings and user infos have them.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/Value.h"

#include <compare>
#include <concepts>
#include <cstdint>
#include <map>
#include <string>
#include <variant>

namespace kova {

class KOVA_EXPORT AnyHashable {
public:
    AnyHashable(std::string text)
        : m_value(std::move(text))
    {
    }
    AnyHashable(const char* text)
        : m_value(std::string {text})
    {
    }
    AnyHashable(double number)
        : m_value(number)
    {
    }
    AnyHashable(std::same_as<bool> auto boolean)
        : m_value(boolean)
    {
    }
    AnyHashable(std::integral auto integer)
        requires(!std::same_as<decltype(integer), bool>)
        : m_value(static_cast<std::int64_t>(integer))
    {
    }

    /// The text when the key is a string, else null.
    [[nodiscard]] const std::string* text() const { return std::get_if<std::string>(&m_value); }

    friend bool operator==(const AnyHashable&, const AnyHashable&) = default;
    friend bool operator<(const AnyHashable& left, const AnyHashable& right) { return left.m_value < right.m_value; }

private:
    std::variant<std::string, std::int64_t, double, bool> m_value;
};

/// Launch options, vendor settings and the user info of a notification.
using AnyDictionary = std::map<AnyHashable, Value>;

} // namespace kova
