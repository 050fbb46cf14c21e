#include "KovaSDK/Push/PushModel/KovaNotification.h"

#include <gtest/gtest.h>

namespace kova {
namespace {

using Dictionary = Value::Dictionary;

TEST(KovaNotificationTest, TakesAttachmentFromRawPayload)
{
    struct Row {
        const char* name;
        Dictionary rawPayload;
        std::optional<std::string> expected;
    };
    const Row rows[] {
        {"no att", {}, ""},
        {"a number", {{"att", 7}}, ""},
        {"null", {{"att", Value {}}}, ""},
        {"a list", {{"att", Value::Array {"id"}}}, ""},
        {"a text and a number", {{"att", Dictionary {{"id", "a.jpg"}, {"size", 3}}}}, ""},
        {"empty", {{"att", Dictionary {}}}, std::nullopt},
        {"without id", {{"att", Dictionary {{"photo1", "a.jpg"}}}}, std::nullopt},
        {"with id", {{"att", Dictionary {{"id", "a.jpg"}, {"clip", "b.mp4"}}}}, "a.jpg"},
        {"with an empty id", {{"att", Dictionary {{"id", ""}}}}, ""},
        {"inside os_data", {{"os_data", Dictionary {{"att", Dictionary {{"id", "a.jpg"}}}}}}, ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(KovaNotification({.rawPayload = row.rawPayload}).att, row.expected) << row.name;
}

TEST(KovaNotificationTest, KeepsAbsentAndEmptyApart)
{
    const KovaNotification bare {OSNotificationPayload {.rawPayload = Dictionary {}}};
    EXPECT_EQ(bare.notificationID, std::nullopt);
    EXPECT_EQ(bare.title, std::nullopt);
    EXPECT_EQ(bare.subtitle, "");
    EXPECT_EQ(bare.body, std::nullopt);
    EXPECT_EQ(bare.launchURL, "");
    EXPECT_EQ(bare.encode(), (Value {Dictionary {{"subtitle", ""}, {"launchURL", ""}, {"att", ""}, {"read", false}}}));
    EXPECT_EQ(description(bare),
        "KovaSDK.KovaNotification(notificationID: nil, title: nil, subtitle: Optional(\"\"), body: nil, "
        "launchURL: Optional(\"\"), att: Optional(\"\"), read: false)");
    EXPECT_EXIT((KovaNotification {OSNotificationPayload {}}), testing::KilledBySignal(SIGABRT), "rawPayload");
}

TEST(KovaNotificationTest, DecodesWhatItEncodesAndRefusesTheRest)
{
    const Dictionary full {{"notificationID", "a"}, {"title", "Olá \"João\"\n"}, {"subtitle", "s"}, {"body", "b"},
        {"launchURL", "u"}, {"att", "t"}, {"read", true}};
    const auto decoded = KovaNotification::decode(full);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->encode(), Value {full});
    EXPECT_EQ(description(*decoded),
        "KovaSDK.KovaNotification(notificationID: Optional(\"a\"), title: Optional(\"Olá \\\"João\\\"\\n\"), subtitle: "
        "Optional(\"s\"), body: Optional(\"b\"), launchURL: Optional(\"u\"), att: Optional(\"t\"), read: true)");

    EXPECT_TRUE(KovaNotification::decode(Dictionary {{"read", false}, {"unknown", 1}}));
    EXPECT_FALSE(KovaNotification::decode(Dictionary {{"title", "a"}}));
    EXPECT_FALSE(KovaNotification::decode(Dictionary {{"read", 1}}));
    EXPECT_FALSE(KovaNotification::decode(Dictionary {{"read", true}, {"title", 1}}));
    EXPECT_FALSE(KovaNotification::decode(Value::Array {}));
}

} // namespace
} // namespace kova
