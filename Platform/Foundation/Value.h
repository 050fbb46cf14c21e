// The one untyped value: what JSON, property lists, user defaults, push payloads and user infos are made of.
//
// A copy shares arrays, dictionaries and byte buffers with its original. Threads: like a standard container.

#pragma once

#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Date.h"
#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/SharedList.h"

#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace kova {

class KOVA_EXPORT Value {
public:
    using Array = SharedList<Value>;
    using Dictionary = std::map<std::string, Value, std::less<>>;

    /// Null: JSON's null; property lists and user defaults have none.
    Value() = default;
    Value(std::same_as<bool> auto boolean)
        : m_value(boolean)
    {
    }
    Value(std::integral auto integer)
        requires(!std::same_as<decltype(integer), bool>)
        : m_value(static_cast<std::int64_t>(integer))
    {
    }
    Value(double number)
        : m_value(number)
    {
    }
    Value(std::string text)
        : m_value(std::move(text))
    {
    }
    Value(std::string_view text)
        : m_value(std::string {text})
    {
    }
    Value(const char* text)
        : m_value(std::string {text})
    {
    }
    Value(Data data)
        : m_value(std::move(data))
    {
    }
    Value(Date date)
        : m_value(date)
    {
    }
    Value(Array array)
        : m_value(std::move(array))
    {
    }
    Value(Dictionary dictionary)
        : m_value(std::make_shared<const Dictionary>(std::move(dictionary)))
    {
    }

    [[nodiscard]] bool isNull() const { return std::holds_alternative<std::monostate>(m_value); }

    /// The value when it is exactly a T (bool, std::int64_t, double, std::string, Data, Date, Array or Dictionary),
    /// else null. The pointer lives as long as this value does.
    template <typename T> [[nodiscard]] const T* as() const
    {
        if constexpr (std::same_as<T, Dictionary>) {
            const auto* dictionary = std::get_if<std::shared_ptr<const Dictionary>>(&m_value);
            return dictionary ? dictionary->get() : nullptr;
        } else {
            return std::get_if<T>(&m_value);
        }
    }

    /// The entry of a dictionary, null when this is none or has no such entry.
    [[nodiscard]] const Value* find(std::string_view key) const;

    /// The entry of a dictionary when it is exactly a T.
    template <typename T> [[nodiscard]] const T* find(std::string_view key) const
    {
        const auto* entry = find(key);
        return entry ? entry->as<T>() : nullptr;
    }

    friend bool operator==(const Value& left, const Value& right);

private:
    std::variant<std::monostate, bool, std::int64_t, double, std::string, Data, Date, Array,
        std::shared_ptr<const Dictionary>>
        m_value;
};

} // namespace kova
