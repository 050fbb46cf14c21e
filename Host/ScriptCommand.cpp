#include "Host/ScriptCommand.h"

#include "Host/PushPayload.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/JSONSerialization.h"

namespace kova::host {

ScriptCommand::ScriptCommand(std::string_view line)
{
    auto value = JSONSerialization::jsonObject(repairedJSON(line));
    if (!value)
        throw ScriptError {"not a JSON object: " + value.error().message()};
    m_fields = *std::move(value);
    if (!m_fields.as<Value::Dictionary>())
        throw ScriptError {"not a JSON object"};
    const auto* name = m_fields.find("do");
    if (!name)
        throw ScriptError {"the field \"do\" is missing"};
    if (!name->as<std::string>())
        throw ScriptError {"the field \"do\" must be a text"};
    m_name = *name->as<std::string>();
}

ScriptError ScriptCommand::mistyped(std::string_view key, const char* expected) const
{
    return ScriptError {singleLine(m_name) + ": the field \"" + std::string {key} + "\" must be " + expected};
}

template <typename T> std::optional<T> ScriptCommand::optionalField(std::string_view key, const char* expected) const
{
    const auto* field = m_fields.find(key);
    if (!field || field->isNull())
        return std::nullopt;
    if (const auto* value = field->as<T>())
        return *value;
    throw mistyped(key, expected);
}

template <typename T> T ScriptCommand::field(std::string_view key, const char* expected) const
{
    const auto* field = m_fields.find(key);
    if (!field)
        throw ScriptError {m_name + ": the field \"" + std::string {key} + "\" is missing"};
    if (const auto* value = field->as<T>())
        return *value;
    throw mistyped(key, expected);
}

std::string ScriptCommand::text(std::string_view key) const
{
    return field<std::string>(key, "a text");
}

std::optional<std::string> ScriptCommand::optionalText(std::string_view key) const
{
    return optionalField<std::string>(key, "a text");
}

std::optional<std::string> ScriptCommand::textOrNull(std::string_view key) const
{
    const auto* value = m_fields.find(key);
    return value && value->isNull() ? std::nullopt : std::optional {field<std::string>(key, "a text or null")};
}

bool ScriptCommand::boolean(std::string_view key) const
{
    return field<bool>(key, "true or false");
}

std::optional<bool> ScriptCommand::optionalBoolean(std::string_view key) const
{
    return optionalField<bool>(key, "true or false");
}

bool ScriptCommand::has(std::string_view key) const
{
    const auto* value = m_fields.find(key);
    return value && !value->isNull();
}

std::int64_t ScriptCommand::integer(std::string_view key) const
{
    return field<std::int64_t>(key, "a whole number");
}

double ScriptCommand::number(std::string_view key) const
{
    if (const auto number = optionalNumber(key))
        return *number;
    return field<double>(key, "a number");
}

std::optional<double> ScriptCommand::optionalNumber(std::string_view key) const
{
    const auto* value = m_fields.find(key);
    if (const auto* integer = value ? value->as<std::int64_t>() : nullptr)
        return static_cast<double>(*integer);
    return optionalField<double>(key, "a number");
}

Value::Dictionary ScriptCommand::object(std::string_view key) const
{
    return field<Value::Dictionary>(key, "an object");
}

std::optional<Value::Dictionary> ScriptCommand::optionalObject(std::string_view key) const
{
    return optionalField<Value::Dictionary>(key, "an object");
}

Value::Array ScriptCommand::list(std::string_view key) const
{
    return field<Value::Array>(key, "a list");
}

std::optional<AnyDictionary> ScriptCommand::launchOptions() const
{
    const auto given = optionalObject("launchOptions");
    return given ? std::optional<AnyDictionary> {std::in_place, given->begin(), given->end()} : std::nullopt;
}

} // namespace kova::host
