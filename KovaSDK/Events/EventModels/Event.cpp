#include "KovaSDK/Events/EventModels/Event.h"

#include "KovaSDK/Events/EventServices/EventError.h"
#include "KovaSDK/Events/EventServices/EventService.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/KovaKeysManager.h"
#include "KovaSDK/Services/Networking/KovaNetwork.h"
#include "Platform/Foundation/JSONWriter.h"
#include "Platform/Foundation/Print.h"

#include <cmath>

namespace kova {

void Event::addAttribute(const std::string& type, const std::string& value)
{
    attributes.insert_or_assign(type, value);
}

void Event::addMetric(const std::string& type, double value)
{
    metrics.insert_or_assign(type, std::round(value));
}

void Event::record()
{
    timeStamp = Date::now();
}

std::optional<Data> Event::toJSON() const
{
    JSONWriter writer;
    const auto writeObject = [&writer](const auto& entries, auto writeValue) {
        writer.beginObject();
        for (const auto& [key, value] : entries) {
            if (!key.text())
                return false;
            writer.key(*key.text());
            writeValue(value);
        }
        writer.endObject();
        return true;
    };
    writer.beginObject();
    writer.key("audience_id");
    writer.string(KovaKeyManager {}.get(KovaKey::audienceID));
    writer.key("user_timestamp");
    writer.number(timeStamp.secondsSince1970);
    writer.key("player_id");
    writer.string(userId);
    writer.key("type");
    writer.string(eventType);
    writer.key("attributes");
    if (!writeObject(attributes, [&writer](const std::string& value) { writer.string(value); }))
        return std::nullopt;
    writer.key("metrics");
    if (!writeObject(metrics, [&writer](double value) { writer.number(value); }))
        return std::nullopt;
    writer.endObject();
    auto body = writer.take();
    return body ? std::optional {*std::move(body)} : std::nullopt;
}

void Event::save()
{
    const auto body = toJSON();
    if (!body)
        throw std::system_error {EventError::eventCantBeTransformedInJson};
    if (KovaNetwork::status() == KovaNetwork::Status::unreachable) {
        print("Event Save: Send data to buffer array");
        EventStorage {}.store(*body);
        return;
    }
    EventService {}.publish(*body, [body = *body](const PublicationOutcome& outcome) {
        if (outcome && *outcome) {
            print("Event POST: Success");
            return;
        }
        print("Event POST: " + (outcome ? "Error" : outcome.error().message()));
        EventStorage {}.store(body);
    });
}

} // namespace kova
