#include "KovaSDK/Push/PushModel/KovaNotification.h"

#include "KovaSDK/Services/Networking/NetworkError.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/Print.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kova {

namespace {

using CodingKeys = KovaNotification::CodingKeys;

// The six text fields in stored order: one table serves coding and description.
constexpr std::array textFields {
    std::pair {CodingKeys::notificationID, &KovaNotification::notificationID},
    std::pair {CodingKeys::title, &KovaNotification::title},
    std::pair {CodingKeys::subtitle, &KovaNotification::subtitle},
    std::pair {CodingKeys::body, &KovaNotification::body},
    std::pair {CodingKeys::launchURL, &KovaNotification::launchURL},
    std::pair {CodingKeys::att, &KovaNotification::att},
};

std::optional<std::string> attachment(const Value::Dictionary& rawPayload)
{
    const auto entry = rawPayload.find("att");
    const auto* texts = entry == rawPayload.end() ? nullptr : entry->second.as<Value::Dictionary>();
    if (!texts || !std::ranges::all_of(*texts, [](const auto& pair) { return pair.second.template as<std::string>(); }))
        return "";
    const auto* id = entry->second.find<std::string>("id");
    return id ? std::optional {*id} : std::nullopt;
}

} // namespace

KovaNotification::KovaNotification(const OSNotificationPayload& payload)
    : notificationID(payload.notificationID)
    , title(payload.title)
    , subtitle(payload.subtitle.value_or(""))
    , body(payload.body)
    , launchURL(payload.launchURL.value_or(""))
{
    if (!payload.rawPayload)
        fatalError("a notification payload has no rawPayload: the push vendor's adapter must set it");
    att = attachment(*payload.rawPayload);
}

Value KovaNotification::encode() const
{
    Value::Dictionary dictionary;
    for (const auto& [key, field] : textFields) {
        if (this->*field)
            dictionary.emplace(rawValue(key), *(this->*field));
    }
    dictionary.emplace(rawValue(CodingKeys::read), read);
    return dictionary;
}

std::expected<KovaNotification, std::error_code> KovaNotification::decode(const Value& value)
{
    KovaNotification notification;
    for (const auto& [key, field] : textFields) {
        const auto* entry = value.find(rawValue(key));
        if (!entry)
            continue;
        const auto* text = entry->as<std::string>();
        if (!text)
            return std::unexpected {make_error_code(NetworkError::unableToDecode)};
        notification.*field = *text;
    }
    const auto* read = value.find<bool>(rawValue(CodingKeys::read));
    if (!read)
        return std::unexpected {make_error_code(NetworkError::unableToDecode)};
    notification.read = *read;
    return notification;
}

std::string_view rawValue(KovaNotification::CodingKeys key)
{
    switch (key) {
    case CodingKeys::notificationID:
        return "notificationID";
    case CodingKeys::title:
        return "title";
    case CodingKeys::subtitle:
        return "subtitle";
    case CodingKeys::body:
        return "body";
    case CodingKeys::launchURL:
        return "launchURL";
    case CodingKeys::att:
        return "att";
    case CodingKeys::read:
        return "read";
    }
    return {};
}

std::string description(const KovaNotification& notification)
{
    std::string text;
    appendDescription(text, notification);
    return text;
}

void appendDescription(std::string& text, const KovaNotification& notification)
{
    text += "KovaSDK.KovaNotification(";
    for (const auto& [key, field] : textFields) {
        text.append(rawValue(key)).append(": ");
        appendDescription(text, notification.*field);
        text += ", ";
    }
    text.append("read: ").append(notification.read ? "true" : "false").append(")");
}

} // namespace kova
