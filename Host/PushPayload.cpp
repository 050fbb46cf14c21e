#include "Host/PushPayload.h"

#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/Unicode.h"

#include <algorithm>
#include <charconv>

namespace kova::host {

namespace {

// The code unit of an escape "\uXXXX" at the beginning of the text.
std::optional<unsigned> escapedCodeUnit(std::string_view text)
{
    constexpr std::size_t length = 6;
    if (text.size() < length || !text.starts_with("\\u"))
        return std::nullopt;
    unsigned unit = 0;
    const auto* end = text.data() + length;
    return std::from_chars(text.data() + 2, end, unit, 16).ptr == end ? std::optional {unit} : std::nullopt;
}

bool isHighSurrogate(unsigned unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(unsigned unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

std::optional<std::string> textIn(const Value* object, std::string_view key)
{
    const auto* text = object ? object->find<std::string>(key) : nullptr;
    return text ? std::optional {*text} : std::nullopt;
}

// Where the vendor's own entries are: "custom", or "os_data" in the newer shape.
struct VendorEntries {
    const Value* entries = nullptr;
    bool isNewShape = false;
};

VendorEntries vendorEntries(const Value& raw)
{
    const auto* custom = raw.find("custom");
    if (custom && custom->find<std::string>("i"))
        return {.entries = custom};
    return {.entries = raw.find("os_data"), .isNewShape = true};
}

std::optional<Value::Dictionary> additionalData(const Value::Dictionary& rawPayload, const VendorEntries& vendor)
{
    if (!vendor.isNewShape) {
        const auto* data = vendor.entries->find<Value::Dictionary>("a");
        return data ? std::optional {*data} : std::nullopt;
    }
    auto rest = rawPayload;
    rest.erase("aps");
    rest.erase("os_data");
    return rest.empty() ? std::nullopt : std::optional {std::move(rest)};
}

Value::Array actionButtons(const Value& raw)
{
    const auto vendor = vendorEntries(raw);
    const auto* buttons = (vendor.isNewShape ? *vendor.entries : raw).find<Value::Array>("buttons");
    Value::Array described;
    for (const auto& button : buttons ? *buttons : Value::Array {}) {
        const auto id = textIn(&button, "i");
        const auto text = textIn(&button, "n");
        if (id && text)
            described.append(Value::Dictionary {{"id", *id}, {"text", *text}});
    }
    return described;
}

Value openedResult(Value::Dictionary payload, const std::optional<std::string>& action)
{
    return Value::Dictionary {
        {"notification", Value::Dictionary {{"payload", std::move(payload)}, {"shown", true}, {"isAppInFocus", false}}},
        {"action", action ? Value::Dictionary {{"actionID", *action}} : Value::Dictionary {}},
    };
}

} // namespace

std::string repairedJSON(std::string_view text)
{
    std::string repaired;
    const auto valid = repairedUTF8(text);
    std::string_view rest = valid;
    const auto keep = [&](std::size_t length) {
        repaired += rest.substr(0, length);
        rest.remove_prefix(std::min(length, rest.size()));
    };
    constexpr std::size_t unitLength = 6;
    while (!rest.empty()) {
        keep(std::min(rest.find('\\'), rest.size()));
        const auto unit = escapedCodeUnit(rest);
        if (!unit) {
            keep(2);
        } else if (isHighSurrogate(*unit) && isLowSurrogate(escapedCodeUnit(rest.substr(unitLength)).value_or(0))) {
            keep(2 * unitLength);
        } else if (isHighSurrogate(*unit) || isLowSurrogate(*unit)) {
            repaired += "\\uFFFD";
            rest.remove_prefix(unitLength);
        } else {
            keep(unitLength);
        }
    }
    return repaired;
}

std::shared_ptr<OSNotificationPayload> decodedPayload(const Value::Dictionary& rawPayload)
{
    const Value raw {rawPayload};
    const auto vendor = vendorEntries(raw);
    auto id = textIn(vendor.entries, "i");
    if (!id)
        return nullptr;

    auto payload = std::make_shared<OSNotificationPayload>();
    payload->notificationID = std::move(id);
    payload->launchURL = textIn(vendor.entries, "u");
    payload->rawPayload = rawPayload;
    payload->additionalData = additionalData(rawPayload, vendor);
    const auto* aps = raw.find("aps");
    if (const auto* alert = aps ? aps->find("alert") : nullptr) {
        payload->title = textIn(alert, "title");
        payload->subtitle = textIn(alert, "subtitle");
        const auto* whole = alert->as<std::string>();
        payload->body = whole ? std::optional {*whole} : textIn(alert, "body");
    }
    return payload;
}

std::optional<std::string> stringifiedResult(
    const OSNotificationPayload& payload, const std::optional<std::string>& action)
{
    const Value raw {payload.rawPayload.value_or(Value::Dictionary {})};
    Value::Dictionary described {{"rawPayload", raw}, {"actionButtons", actionButtons(raw)}};
    const auto describe = [&described](const char* key, const auto& value) {
        if (value)
            described.emplace(key, *value);
    };
    describe("notificationID", payload.notificationID);
    describe("title", payload.title);
    describe("subtitle", payload.subtitle);
    describe("body", payload.body);
    describe("launchURL", payload.launchURL);
    describe("additionalData", payload.additionalData);
    if (const auto* aps = raw.find("aps")) {
        describe("badge", aps->find("badge"));
        describe("sound", aps->find("sound"));
        if (const auto* available = aps->find<std::int64_t>("content-available"); available && *available == 1)
            described.emplace("contentAvailable", true);
    }
    auto json = JSONSerialization::data(openedResult(described, action));
    if (!json && json.error() == JSONError::nestedTooDeep) {
        // Around a payload that is nested as deep as JSON may be there is no room for another level, and the handlers
        // must have a text.
        for (const auto* deep : {"rawPayload", "additionalData", "badge", "sound"})
            described.erase(deep);
        json = JSONSerialization::data(openedResult(std::move(described), action));
    }
    return json ? decodedText(*json) : std::nullopt;
}

} // namespace kova::host
