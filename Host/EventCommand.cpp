#include "Host/EventCommand.h"

#include "KovaSDK/Events/EventModels/ButtonEvent.h"
#include "KovaSDK/Events/EventModels/CartEvent.h"
#include "KovaSDK/Events/EventModels/GeofenceEvent.h"
#include "KovaSDK/Events/EventModels/GeotriggerEvent.h"
#include "KovaSDK/Events/EventModels/InboxNotificationEvent.h"
#include "KovaSDK/Events/EventModels/NotificationEvent.h"
#include "KovaSDK/Events/EventModels/PageEvent.h"
#include "KovaSDK/Events/EventModels/PaymentEvent.h"
#include "KovaSDK/Events/EventModels/SearchEvent.h"
#include "KovaSDK/Events/EventModels/SessionEvent.h"
#include "KovaSDK/Events/EventModels/URLEvent.h"
#include "Platform/Foundation/Description.h"

#include <limits>
#include <map>
#include <memory>
#include <ranges>
#include <system_error>

namespace kova::host {

namespace {

template <typename Kind> std::unique_ptr<Event> make(EventType type)
{
    return std::make_unique<Kind>(type);
}

using Maker = std::unique_ptr<Event> (*)(EventType);

const std::map<std::string_view, Maker> makers {
    {"ButtonEvent", &make<ButtonEvent>},
    {"CartEvent", &make<CartEvent>},
    {"GeofenceEvent", &make<GeofenceEvent>},
    {"GeotriggerEvent", &make<GeotriggerEvent>},
    {"InboxNotificationEvent", &make<InboxNotificationEvent>},
    {"NotificationEvent", &make<NotificationEvent>},
    {"PageEvent", &make<PageEvent>},
    {"PaymentEvent", &make<PaymentEvent>},
    {"SearchEvent", &make<SearchEvent>},
    {"SessionEvent", &make<SessionEvent>},
    {"UrlEvent", &make<UrlEvent>},
};

auto rawTypes()
{
    constexpr auto end = static_cast<int>(EventType::urlFromNotificationClose) + 1;
    return std::views::iota(0, end)
        | std::views::transform([](int number) { return rawValue(static_cast<EventType>(number)); });
}

// A number, or one of the numbers that JSON has no form for, as a text: they are how a save fails.
double metric(const std::string& name, const Value& value)
{
    static const std::map<std::string_view, double> notFinite {
        {"nan", std::numeric_limits<double>::quiet_NaN()},
        {"inf", std::numeric_limits<double>::infinity()},
        {"-inf", -std::numeric_limits<double>::infinity()},
    };
    if (const auto* integer = value.as<std::int64_t>())
        return static_cast<double>(*integer);
    if (const auto* number = value.as<double>())
        return *number;
    if (const auto* text = value.as<std::string>(); text && notFinite.contains(*text))
        return notFinite.at(*text);
    throw ScriptError {"event: the metric \"" + singleLine(name) + "\" must be a number, \"nan\", \"inf\" or \"-inf\""};
}

const std::string& attribute(const std::string& name, const Value& value)
{
    if (const auto* text = value.as<std::string>())
        return *text;
    throw ScriptError {"event: the attribute \"" + singleLine(name) + "\" must be a text"};
}

} // namespace

Value::Dictionary saveEvent(const ScriptCommand& command)
{
    const auto maker = makers.find(command.text("kind"));
    if (maker == makers.end())
        throw ScriptError {"event: unknown kind \"" + singleLine(command.text("kind")) + "\", not one of "
            + listed(std::views::keys(makers))};
    const auto type = eventTypeFromRawValue(command.text("type"));
    if (!type)
        throw ScriptError {
            "event: unknown type \"" + singleLine(command.text("type")) + "\", not one of " + listed(rawTypes())};

    const auto event = maker->second(*type);
    event->userId = command.optionalText("userId").value_or(event->userId);
    if (const auto text = command.optionalText("text"))
        event->start(*text);
    for (const auto& [name, value] : command.optionalObject("attributes").value_or(Value::Dictionary {}))
        event->addAttribute(name, attribute(name, value));
    for (const auto& [name, value] : command.optionalObject("metrics").value_or(Value::Dictionary {}))
        event->addMetric(name, metric(name, value));
    if (command.optionalBoolean("record").value_or(false))
        event->record();
    try {
        event->save();
        return {{"saved", true}};
    } catch (const std::system_error& error) {
        return {{"saved", false}, {"error", error.code().message()}};
    }
}

} // namespace kova::host
