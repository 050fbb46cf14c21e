#include "Host/PushPayload.h"
#include "KovaSDK/Push/PushModel/KovaNotification.h"
#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/Unicode.h"

#include <gtest/gtest.h>

#include <string>

namespace kova::host {
namespace {

using Dictionary = Value::Dictionary;

Dictionary payload(const std::string& name)
{
    const auto file = Data::contentsOf(std::string {KOVA_PAYLOADS_DIR} + "/" + name + ".json", 1 << 20);
    const auto value = file ? JSONSerialization::jsonObject(file->text()) : Value {};
    return value && value->as<Dictionary>() ? *value->as<Dictionary>() : Dictionary {};
}

TEST(PushPayloadTest, EveryPayloadBecomesItsRecord)
{
    using Text = std::optional<std::string>;
    struct Row {
        const char* name;
        Text id, title, subtitle, body, launchURL, att;
        bool hasAdditionalData;
    };
    const Text none;
    const Row rows[] {
        {"button-pressed", "8c67ea65-eb65-4d1b-97e4-0c5dd258bec3", "TEST", "TEST", "TEST", "", "", true},
        {"data-without-action", "80657284-def0-474a-ac7e-50e4ab5c9067", "Un nuovo commento sul tuo post", "",
            "Celu Wiv ha appena commentato", "", "", true},
        {"title-and-image", "b2f7f966-d8cc-11e4-bed1-df8f05be55bf", "Test Title", "", none, "",
            "http://domain.com/file.jpg", false},
        {"new-shape-alert-text", "b2f7f966-d8cc-11e4-bed1-df8f05be55ba", none, "", "Message Body", "", "", false},
        {"local-attachment", "b2f7f966-d8cc-11e4-bed1-df8f05be55ba", none, "", "Message Body", "", "", false},
        {"legacy-keys", "b2f7f966-d8cc-11e4-bed1-df8f05be55ba", none, "", none, "", "", false},
        {"badge-only", "b2f7f966-d8cc-11e4-1111-df8f05be55bb", none, "", none, "", "", false},
        {"data-only", "b2f7f966-d8cc-11e4-bed1-df8f05be55ba", none, "", none, "", "", true},
        {"subtitle", "notificationId as UUID", "Push Notification", "Test Push Notifications",
            "Testing Push Notifications on iOS Simulator", "", "", true},
        {"malformed-button", "b2f7f966-d8cc-11e4-bed1-df8f05be55ba", none, "", "Message Body", "", "", false},
        {"launch-url", "5f0c6c1e-6b0e-4a7e-9a55-0d7f3b1b2c3d", "New collection", "", "Tap to open",
            "https://example.com/p/1?x=a%20b", none, false},
        {"silent", "0f6d2f0e-8f5a-4b58-93a5-1b8f5f7d0a11", none, "", none, "", "", true},
        {"accents-and-emoji", "3b7a2f6e-2d2b-4b0f-8a6c-90f7b7f1c001", "Promoção 🎉", "",
            "Olá, João! Você ganhou 20% de desconto em pães e cafés ☕️👩‍👩‍👧", "", "", true},
    };
    for (const auto& row : rows) {
        const auto decoded = decodedPayload(payload(row.name));
        ASSERT_TRUE(decoded) << row.name;
        const KovaNotification record {*decoded};
        EXPECT_EQ(record.notificationID, row.id) << row.name;
        EXPECT_EQ(record.title, row.title) << row.name;
        EXPECT_EQ(record.subtitle, row.subtitle) << row.name;
        EXPECT_EQ(record.body, row.body) << row.name;
        EXPECT_EQ(record.launchURL, row.launchURL) << row.name;
        EXPECT_EQ(record.att, row.att) << row.name;
        EXPECT_FALSE(record.read) << row.name;
        EXPECT_EQ(decoded->additionalData.has_value(), row.hasAdditionalData) << row.name;
    }
    EXPECT_EQ(decodedPayload(payload("long-text"))->body->size(),
        payload("long-text").at("aps").find("alert")->find<std::string>("body")->size());
}

TEST(PushPayloadTest, OnlyWhatTheVendorKnowsAsItsOwnIsDecoded)
{
    const auto decoded
        = [](const char* json) { return decodedPayload(*JSONSerialization::jsonObject(json)->as<Dictionary>()); };
    for (const auto* foreign :
        {"{}", R"({"aps":{"alert":"a"}})", R"({"custom":{"i":5}})", R"({"custom":"i"})", R"({"i":"a"})"})
        EXPECT_FALSE(decoded(foreign)) << foreign;

    const auto newShape = decoded(R"({"os_data":{"i":"a","u":"x://y"},"aps":{"alert":7},"k":1,"custom":{}})");
    ASSERT_TRUE(newShape);
    EXPECT_EQ(newShape->launchURL, "x://y");
    EXPECT_EQ(newShape->body, std::nullopt);
    EXPECT_EQ(newShape->additionalData, (Dictionary {{"k", 1}, {"custom", Dictionary {}}}));
}

// The handler of an opened push stops the process when there is no text.
TEST(PushPayloadTest, APayloadNestedToTheLimitHasATextForm)
{
    const auto nest = [](std::size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    for (const std::string key : {"x", "badge"}) {
        const auto depth = JSONSerialization::maximumDepth - 2UL;
        const auto raw = JSONSerialization::jsonObject(
            R"({"custom":{"i":"a"},"aps":{"alert":"b",")" + key + "\":" + nest(depth) + "}}");
        ASSERT_TRUE(raw);
        const auto text = stringifiedResult(*decodedPayload(*raw->as<Dictionary>()), "press");
        ASSERT_TRUE(text);
        const auto result = JSONSerialization::jsonObject(*text);
        EXPECT_EQ(*result->find("notification")->find("payload")->find<std::string>("body"), "b");
        EXPECT_EQ(*result->find("action")->find<std::string>("actionID"), "press");
    }
}

TEST(PushPayloadTest, RepairsTextThatNoStoreCouldHold)
{
    const std::pair<std::string, std::string> rows[] {
        {R"({"a":"ok \u00e9 \\u \" \n"})", R"({"a":"ok \u00e9 \\u \" \n"})"},
        {"{\"a\":\"\xFF\xC3\"}", "{\"a\":\"\uFFFD\uFFFD\"}"},
        {R"("\ud83c\udf89")", R"("\ud83c\udf89")"},
        {R"("\ud83c")", R"("\uFFFD")"},
        {R"("\ud83c\ud83c\udf89")", R"("\uFFFD\ud83c\udf89")"},
        {R"("\udf89\ud83cx")", R"("\uFFFD\uFFFDx")"},
        {R"("\\ud83c")", R"("\\ud83c")"},
        {R"("\ud8)", R"("\ud8)"},
        {"\\", "\\"},
    };
    for (const auto& [text, repaired] : rows)
        EXPECT_EQ(repairedJSON(text), repaired) << text;
}

} // namespace
} // namespace kova::host
