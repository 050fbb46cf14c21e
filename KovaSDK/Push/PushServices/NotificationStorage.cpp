#include "KovaSDK/Push/PushServices/NotificationStorage.h"

#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/UserDefaults.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace kova {

namespace {

std::vector<KovaNotification> decoded(const std::optional<Value>& stored)
{
    const auto* data = stored ? stored->as<Data>() : nullptr;
    const auto list = data ? PropertyListDecoder::decode(data->text()) : Value {};
    const auto* records = list ? list->as<Value::Array>() : nullptr;
    if (!records)
        return {};
    std::vector<KovaNotification> buffer;
    buffer.reserve(records->size() + 1);
    for (const auto& record : *records) {
        auto notification = KovaNotification::decode(record);
        if (!notification)
            return {};
        buffer.push_back(*std::move(notification));
    }
    return buffer;
}

std::optional<Value> encoded(const std::vector<KovaNotification>& buffer)
{
    Value::Array records;
    for (const auto& notification : buffer)
        records.append(notification.encode());
    auto list = PropertyListEncoder::encode(std::move(records));
    return list ? std::optional<Value> {*std::move(list)} : std::nullopt;
}

} // namespace

std::vector<KovaNotification> NotificationStorage::buffer()
{
    return decoded(UserDefaults::standard()->object(key));
}

void NotificationStorage::setBuffer(const std::vector<KovaNotification>& buffer)
{
    UserDefaults::standard()->setObject(key, encoded(buffer));
}

void NotificationStorage::update(std::function<void(std::vector<KovaNotification>&)> change)
{
    UserDefaults::standard()->update(key, [change = std::move(change)](const std::optional<Value>& present) {
        auto buffer = decoded(present);
        change(buffer);
        return encoded(buffer);
    });
}

std::size_t NotificationStorage::totalUnreadNotifications()
{
    return static_cast<std::size_t>(std::ranges::count(buffer(), false, &KovaNotification::read));
}

std::string description(const std::vector<KovaNotification>& notifications)
{
    std::string text = "[";
    for (const auto& notification : notifications)
        text.append(text.size() > 1 ? ", " : "").append(description(notification));
    return text + "]";
}

} // namespace kova
