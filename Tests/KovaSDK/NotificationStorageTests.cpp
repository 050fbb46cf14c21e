#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Tests/Support/TestPlatform.h"

#include <gtest/gtest.h>

namespace kova {
namespace {

using Dictionary = Value::Dictionary;
using tests::TestPlatform;

KovaNotification record(std::string id, bool read = false)
{
    KovaNotification notification {
        OSNotificationPayload {.notificationID = std::move(id), .rawPayload = Dictionary {}}};
    notification.read = read;
    return notification;
}

std::optional<Value> stored()
{
    return UserDefaults::standard()->object(NotificationStorage::key);
}

TEST(NotificationStorageTest, KeepsTheListInOrderAndCountsUnread)
{
    const TestPlatform platform;
    EXPECT_TRUE(NotificationStorage::buffer().empty());
    EXPECT_EQ(NotificationStorage::totalUnreadNotifications(), 0U);

    NotificationStorage::setBuffer({record("b"), record("a", true), record("b")});
    const auto buffer = NotificationStorage::buffer();
    ASSERT_EQ(buffer.size(), 3U);
    EXPECT_EQ(buffer[0].notificationID, "b");
    EXPECT_EQ(buffer[1].notificationID, "a");
    EXPECT_TRUE(buffer[1].read);
    EXPECT_EQ(NotificationStorage::totalUnreadNotifications(), 2U);

    // An emptied inbox keeps its key.
    NotificationStorage::setBuffer({});
    ASSERT_TRUE(stored());
    const auto list = PropertyListDecoder::decode(stored()->as<Data>()->text());
    ASSERT_TRUE(list);
    EXPECT_EQ(*list, Value {Value::Array {}});
}

TEST(NotificationStorageTest, ReadsWhatItCannotDecodeAsEmptyAndLeavesItAlone)
{
    const TestPlatform platform;
    const auto encoded = [](const Value& value) { return Value {PropertyListEncoder::encode(value).value()}; };
    const std::pair<const char*, Value> rows[] {
        {"a text", "kova"},
        {"a list that is not data", Value::Array {}},
        {"bytes that are no property list", Data {std::string {"bplist00\x08"}}},
        {"a dictionary", encoded(Dictionary {{"read", true}})},
        {"one record without read", encoded(Value::Array {Dictionary {{"read", true}}, Dictionary {{"title", "a"}}})},
        {"a title that is a number", encoded(Value::Array {Dictionary {{"read", true}, {"title", 1}}})},
    };
    for (const auto& [name, value] : rows) {
        UserDefaults::standard()->setObject(NotificationStorage::key, value);
        EXPECT_TRUE(NotificationStorage::buffer().empty()) << name;
        EXPECT_EQ(stored(), value) << name;
    }
}

TEST(NotificationStorageTest, AListThatCannotBeEncodedEmptiesTheInbox)
{
    const TestPlatform platform;
    NotificationStorage::setBuffer({record("a")});
    NotificationStorage::setBuffer({record("a"), record("\xFF")});
    EXPECT_EQ(stored(), std::nullopt);
}

} // namespace
} // namespace kova
