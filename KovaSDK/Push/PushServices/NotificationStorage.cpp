#include "KovaSDK/Push/PushServices/NotificationStorage.h"

#include "KovaSDK/Push/PushServices/InboxCoder.h"
#include "Platform/Foundation/UserDefaults.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

namespace kova {

namespace {

// The records of the bytes that were read or written last, so that what has not changed is not decoded again. They are
// taken out while they are used: two threads never share a list, and one that finds none decodes for itself.
class DecodedInbox {
public:
    std::optional<std::vector<KovaNotification>> take(const Data& bytes)
    {
        const std::lock_guard lock {m_mutex};
        return m_records && m_bytes == bytes ? std::exchange(m_records, std::nullopt) : std::nullopt;
    }

    void keep(Data bytes, std::vector<KovaNotification> records)
    {
        const std::lock_guard lock {m_mutex};
        m_bytes = std::move(bytes);
        m_records = std::move(records);
    }

private:
    std::mutex m_mutex;
    Data m_bytes;
    std::optional<std::vector<KovaNotification>> m_records;
};

// Never destroyed: a thread may still receive a push while main's statics go away.
DecodedInbox& decodedInbox()
{
    static auto& inbox = *new DecodedInbox;
    return inbox;
}

const Data* bytesOf(const std::optional<Value>& stored)
{
    return stored ? stored->as<Data>() : nullptr;
}

std::vector<KovaNotification> decoded(const Data& bytes)
{
    return InboxCoder::decode(bytes.text()).value_or(std::vector<KovaNotification> {});
}

std::vector<KovaNotification> takenOrDecoded(const Data& bytes)
{
    auto records = decodedInbox().take(bytes);
    return records ? *std::move(records) : decoded(bytes);
}

} // namespace

std::vector<KovaNotification> NotificationStorage::buffer()
{
    const auto stored = UserDefaults::standard()->object(key);
    const auto* bytes = bytesOf(stored);
    if (!bytes)
        return {};
    auto records = decodedInbox().take(*bytes);
    if (!records)
        return decoded(*bytes);
    auto copy = *records;
    decodedInbox().keep(*bytes, *std::move(records));
    return copy;
}

void NotificationStorage::read(const std::function<void(const std::vector<KovaNotification>&)>& function)
{
    const auto stored = UserDefaults::standard()->object(key);
    const auto* bytes = bytesOf(stored);
    auto records = bytes ? takenOrDecoded(*bytes) : std::vector<KovaNotification> {};
    function(records);
    if (bytes)
        decodedInbox().keep(*bytes, std::move(records));
}

void NotificationStorage::setBuffer(const std::vector<KovaNotification>& buffer)
{
    UserDefaults::standard()->setObject(key, InboxCoder::encode(buffer));
}

void NotificationStorage::update(std::function<void(std::vector<KovaNotification>&)> change)
{
    UserDefaults::standard()->update(
        key, [change = std::move(change)](const std::optional<Value>& present) -> std::optional<Value> {
            const auto* bytes = bytesOf(present);
            auto records = bytes ? takenOrDecoded(*bytes) : std::vector<KovaNotification> {};
            change(records);
            auto next = InboxCoder::encode(records);
            if (next)
                decodedInbox().keep(*next, std::move(records));
            return next;
        });
}

std::size_t NotificationStorage::totalUnreadNotifications()
{
    std::ptrdiff_t count = 0;
    read([&](const auto& records) { count = std::ranges::count(records, false, &KovaNotification::read); });
    return static_cast<std::size_t>(count);
}

std::string description(const std::vector<KovaNotification>& notifications)
{
    std::string text = "[";
    for (const auto& notification : notifications) {
        if (text.size() > 1)
            text += ", ";
        appendDescription(text, notification);
    }
    text += ']';
    return text;
}

} // namespace kova
