// The road of a push through real processes: kova-host, the collector, the store on disk.

#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/PropertyList.h"
#include "Tests/Host/HostRun.h"
#include "Tests/Support/Collector.h"
#include "Tests/Support/LoopbackServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace kova::tests {
namespace {

using Dictionary = Value::Dictionary;
using testing::ElementsAre;

// The log without the two lines that a metric's reply prints, which come from the session's thread at any moment.
std::vector<std::string> withoutReplies(const std::vector<std::string>& log)
{
    std::vector<std::string> lines;
    std::ranges::copy_if(log, std::back_inserter(lines), [](const auto& line) {
        return !line.starts_with("Result") && line != "success" && !line.starts_with("failure(");
    });
    return lines;
}

TEST(PushRoadTest, EveryPayloadIsStoredReportedAndReadBack)
{
    Collector collector;
    HostFolder folder {collector.port()};
    std::string script = start + command("subscribe", R"("userId":"player")");
    std::vector<std::string> ids;
    std::vector<std::filesystem::path> files {
        std::filesystem::directory_iterator {KOVA_PAYLOADS_DIR}, std::filesystem::directory_iterator {}};
    ASSERT_EQ(files.size(), 14U);
    for (const auto& file : files) {
        const auto payload = JSONSerialization::jsonObject(Data::contentsOf(file, 1 << 20)->text());
        ASSERT_TRUE(payload) << file;
        script += push(*payload->as<Dictionary>());
        const auto* vendor = payload->find("custom") ? payload->find("custom") : payload->find("os_data");
        ids.push_back(*vendor->find<std::string>("i"));
    }
    const auto result = folder.run(script + settle + inbox);
    ASSERT_EQ(result.end, success) << result.errors;

    // Log: the lines of each push in order; two lines more for each reply.
    const auto log = withoutReplies(result.log);
    ASSERT_EQ(log.size(), 2 + 4 * ids.size());
    EXPECT_EQ(log[0], "NOTIFICATIONS : Initialized with callbacks");
    EXPECT_EQ(log[1], "APP ID: 0b1e5a52-demo-push-application");
    std::string stored;
    for (std::size_t index = 0; index < ids.size(); ++index) {
        const auto* lines = &log[2 + 4 * index];
        EXPECT_EQ(lines[0], "Notification received: : Optional(<OSNotification: " + ids[index] + ">)");
        EXPECT_EQ(lines[1], "NOTIFICATIONS : Received Notification ID: Optional(\"" + ids[index] + "\")");
        EXPECT_EQ(lines[2], "Callbacking push metrics");
        const std::string beginning
            = "Notification from storage : [KovaSDK.KovaNotification(notificationID: Optional(\"" + ids[index]
            + "\"), ";
        EXPECT_EQ(lines[3].substr(0, beginning.size()), beginning);
        EXPECT_TRUE(lines[3].ends_with(stored + "]")) << "the earlier records follow, unchanged";
        stored = lines[3].substr(std::string {"Notification from storage : ["}.size());
        stored.pop_back();
    }
    EXPECT_EQ(result.count("success"), ids.size());

    // Metrics, as the server got them.
    const auto requests = collector.requests();
    ASSERT_EQ(requests.size(), ids.size());
    std::vector<std::string> reported;
    for (const auto& request : requests) {
        EXPECT_EQ(request.method, "POST");
        EXPECT_EQ(request.path, "/v2/6a1f0c3e9b7d2e4f80a1c5d3");
        EXPECT_EQ(*request.header("Content-Type"), "application/json");
        const auto body = JSONSerialization::jsonObject(request.body);
        ASSERT_TRUE(body) << request.body;
        EXPECT_EQ(body->as<Dictionary>()->size(), 4U);
        EXPECT_EQ(*body->find<std::string>("playerId"), "player");
        EXPECT_EQ(*body->find<std::string>("metric"), "delivery");
        EXPECT_THAT(*body->find<std::string>("timestamp"),
            testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}"));
        reported.push_back(*body->find<std::string>("notificationId"));
    }
    EXPECT_THAT(reported, testing::UnorderedElementsAreArray(ids));

    // The inbox: newest first, the same in another process.
    std::ranges::reverse(ids);
    EXPECT_EQ(folder.inboxIds(), ids);
    EXPECT_EQ(*result.answers.back().find<std::int64_t>("unread"), static_cast<std::int64_t>(ids.size()));
}

TEST(PushRoadTest, AServerThatMisbehavesChangesNothingElse)
{
    const auto script = start + pushWithId("a") + pushWithId("b") + command("settle", R"("seconds":30)");
    HostFolder unreachable;
    const auto expected = unreachable.run(script);
    EXPECT_EQ(withoutReplies(expected.log), expected.log) << "a transport error prints nothing";
    const Reply replies[] {Reply::status(503, "\xFF"), Reply::status(302, "", {{"Location", "/elsewhere"}}),
        Reply::reset(), Reply::never()};
    for (const auto& reply : replies) {
        LoopbackServer server;
        server.setDefault(reply);
        HostFolder folder {server.port()};
        const auto result = folder.run(script);
        EXPECT_EQ(result.end, success) << result.errors;
        EXPECT_EQ(withoutReplies(result.log), expected.log);
        EXPECT_EQ(server.requests().size(), 2U) << "nothing is retried or redirected";
        EXPECT_THAT(folder.inboxIds(), ElementsAre("b", "a"));
    }
}

TEST(PushRoadTest, TwoProcessesSeeEachOthersPushes)
{
    HostFolder folder;
    const auto writer = folder.start();
    writer->writeInput(start);
    std::vector<std::string> expected;
    for (int round = 0; round < 8; ++round) {
        const auto number = std::to_string(round);
        writer->writeInput(pushWithId("p" + number));
        ASSERT_TRUE(writer->waitForOutputLine("Notification from storage :"));
        // A second process adds one push to what the first has stored, which the first then builds upon.
        ASSERT_EQ(folder.run(start + pushWithId("q" + number)).end, success);
        expected.insert(expected.begin(), {"q" + number, "p" + number});
        ASSERT_EQ(folder.inboxIds(), expected);
    }
    writer->closeInput();
    EXPECT_EQ(writer->wait(), success);
}

TEST(PushRoadTest, TheInboxIsStoredAsAPropertyListThatOthersMayWrite)
{
    HostFolder folder;
    const auto file = folder.path() / "inbox.plist";
    const auto fields = R"("key":"kova_notification","file":")" + file.string() + "\"";
    const std::string broken = "\"payload\":{\"custom\":{\"i\":\"b\"},\"aps\":{\"alert\":\"\xFF\\ud83c\"}}";
    ASSERT_EQ(folder.run(start + pushWithId("pão ☕️") + command("push", broken) + command("defaults-get", fields)).end,
        success);
    const auto record = [](const char* id, const char* body) {
        return Dictionary {
            {"att", ""}, {"body", body}, {"launchURL", ""}, {"notificationID", id}, {"read", false}, {"subtitle", ""}};
    };
    const auto stored = Data::contentsOf(file, 1 << 20);
    ASSERT_TRUE(stored && stored->text().starts_with("bplist00"));
    EXPECT_EQ(PropertyListDecoder::decode(stored->text()).value_or(Value {}),
        (Value {Value::Array {record("b", "\uFFFD\uFFFD"), record("pão ☕️", "Olá")}}))
        << "what no store could hold is repaired, and costs no other record";

    std::ofstream {file} << "<plist version='1.0'><array>"
                            "<dict><key>notificationID</key><string>é 🎉</string><key>read</key><true/></dict>"
                            "<dict><key>notificationID</key><string>z</string><key>read</key><false/></dict>"
                            "</array></plist>";
    const auto result = folder.run(command("defaults-set", fields) + inbox);
    ASSERT_EQ(result.end, success) << result.errors;
    EXPECT_EQ(*result.answers.back().find<std::int64_t>("unread"), 1);
    EXPECT_THAT(folder.inboxIds(), ElementsAre("é 🎉", "z"));
}

} // namespace
} // namespace kova::tests
