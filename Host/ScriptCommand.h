// One line of a host script: a JSON object with "do" and the fields of that command.

#pragma once

#include "Platform/Foundation/AnyHashable.h"
#include "Platform/Foundation/Value.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace kova::host {

/// What is wrong with a line, in words.
class ScriptError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// "a, b, c": what a message about a wrong name says is right.
template <typename Names> std::string listed(Names&& names)
{
    std::string list;
    for (const auto& name : std::forward<Names>(names))
        list.append(list.empty() ? "" : ", ").append(name);
    return list;
}

class ScriptCommand {
public:
    /// Throws ScriptError when the line is not a JSON object with a text "do".
    explicit ScriptCommand(std::string_view line);

    [[nodiscard]] const std::string& name() const { return m_name; }

    // Fields. Each throws ScriptError when the field is missing or has another type; an optional one may be missing or
    // null, one "or null" must be there.
    [[nodiscard]] std::string text(std::string_view key) const;
    [[nodiscard]] std::optional<std::string> optionalText(std::string_view key) const;
    [[nodiscard]] std::optional<std::string> textOrNull(std::string_view key) const;
    [[nodiscard]] bool boolean(std::string_view key) const;
    [[nodiscard]] std::optional<bool> optionalBoolean(std::string_view key) const;
    [[nodiscard]] bool has(std::string_view key) const;
    [[nodiscard]] std::int64_t integer(std::string_view key) const;
    [[nodiscard]] double number(std::string_view key) const;
    [[nodiscard]] std::optional<double> optionalNumber(std::string_view key) const;
    [[nodiscard]] Value::Dictionary object(std::string_view key) const;
    [[nodiscard]] std::optional<Value::Dictionary> optionalObject(std::string_view key) const;
    [[nodiscard]] Value::Array list(std::string_view key) const;
    /// The optional object "launchOptions".
    [[nodiscard]] std::optional<AnyDictionary> launchOptions() const;

private:
    template <typename T> [[nodiscard]] T field(std::string_view key, const char* expected) const;
    template <typename T>
    [[nodiscard]] std::optional<T> optionalField(std::string_view key, const char* expected) const;
    [[nodiscard]] ScriptError mistyped(std::string_view key, const char* expected) const;

    Value m_fields;
    std::string m_name;
};

} // namespace kova::host
