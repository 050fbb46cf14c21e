// What kova-host makes of scripts, right and wrong ones.

#include "Tests/Host/HostRun.h"
#include "Tests/Support/LoopbackServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace kova::tests {
namespace {

using Dictionary = Value::Dictionary;
using testing::ElementsAre;

TEST(ScriptTest, AnswersEveryCommand)
{
    HostFolder folder;
    const auto result = folder.run(R"(# a comment

{"do":"start","launchOptions":{"url":"x"}}
{"do":"config"}
{"do":"player-id"}
{"do":"subscribe","userId":"p\u00e3o"}
{"do":"player-id"}
{"do":"subscribe","userId":null}
{"do":"player-id"}
{"do":"tag","key":"a","value":"1"}
{"do":"tag","key":"a","value":null}
{"do":"tag","key":null,"value":"1"}
{"do":"prompt","accepted":true}
{"do":"prompt","accepted":false}
{"do":"extension","payload":{"custom":{"i":"a"},"aps":{"alert":{"title":"T"}},"att":{"id":"http://a/b.jpg"}}}
{"do":"inbox"}
{"do":"defaults-get","key":"kova_notification","file":"/nowhere/at/all"}
{"do":"settle","seconds":5}
   )");
    EXPECT_EQ(result.end, success) << result.errors;
    EXPECT_EQ(result.errors, "");
    const auto playerId = [](const Value& id) { return Value {Dictionary {{"player-id", id}}}; };
    const auto tags = [](Dictionary all) { return Value {Dictionary {{"tag", std::move(all)}}}; };
    EXPECT_THAT(result.answers,
        ElementsAre(Dictionary {{"config",
                        Dictionary {{"geoID", "demo-geofencing-token"}, {"audienceID", "demo-audience"},
                            {"notificationID", "0b1e5a52-demo-push-application"}, {"apiKey", "demo-api-key"}}}},
            playerId({}), playerId("pão"), playerId({}), tags({{"a", "1"}}), tags({{"a", Value {}}}),
            tags({{"a", Value {}}}), Dictionary {{"prompt", true}}, Dictionary {{"prompt", false}},
            Dictionary {{"extension",
                Dictionary {
                    {"title", "T"}, {"subtitle", ""}, {"body", ""}, {"attachments", Value::Array {"http://a/b.jpg"}}}}},
            Dictionary {{"inbox", Value::Array {}}, {"unread", 0}},
            Dictionary {{"defaults-get", "kova_notification"}, {"bytes", Value {}}}));
}

TEST(ScriptTest, AWrongLineIsSaidWithItsPlaceAndEndsTheScript)
{
    const std::pair<const char*, const char*> rows[] {
        {"nonsense", "not a JSON object"},
        {"[]", "not a JSON object"},
        {"{\"do\":\"inbox\"", "not a JSON object"},
        {"{}", "\"do\" is missing"},
        {"{\"do\":5}", "\"do\" must be a text"},
        {"{\"do\":\"fly\\n\"}", "unknown command \"fly\\n\""},
        {"{\"do\":\"push\"}", "\"payload\" is missing"},
        {"{\"do\":\"push\",\"payload\":\"{}\"}", "\"payload\" must be an object"},
        {"{\"do\":\"prompt\",\"accepted\":1}", "\"accepted\" must be true or false"},
        {"{\"do\":\"tag\",\"key\":\"a\"}", "\"value\" is missing"},
        {"{\"do\":\"subscribe\",\"userId\":7}", "\"userId\" must be a text or null"},
        {"{\"do\":\"settle\",\"seconds\":\"1\"}", "\"seconds\" must be a number"},
        {"{\"do\":\"settle\",\"seconds\":-1}", "\"seconds\" must be between"},
        {"{\"do\":\"start\",\"launchOptions\":[]}", "\"launchOptions\" must be an object"},
        {"{\"do\":\"defaults-set\",\"key\":\"a\",\"file\":\"/nowhere/at/all\"}", "cannot read /nowhere/at/all"},
    };
    for (const auto& [line, message] : rows) {
        HostFolder folder;
        const auto result = folder.run("# first\n\n" + std::string {line} + "\n{\"do\":\"inbox\"}\n");
        EXPECT_EQ(result.end, ProcessEnd {.exitStatus = 2}) << line;
        EXPECT_TRUE(result.errors.starts_with((folder.path() / "script").string() + ":3: ")) << result.errors;
        EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
        EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
        EXPECT_TRUE(result.answers.empty()) << line;
    }
}

TEST(ScriptTest, ReadsStandardInputLineByLineAndEndsOnSignals)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        HostFolder folder;
        const auto host = folder.start();
        host->writeInput("{\"do\":\"start\"}\n");
        ASSERT_TRUE(host->waitForOutputLine("APP ID: "));
        host->signal(signal);
        const auto result = folder.finish(*host);
        EXPECT_EQ(result.end, success) << result.errors;
    }
}

TEST(ScriptTest, RequestsInFlightEndWithTheHost)
{
    LoopbackServer server;
    server.setDefault(Reply::never());
    const auto script = "{\"do\":\"start\"}\n" + pushWithId("a") + "{\"do\":\"settle\",\"seconds\":";

    HostFolder folder;
    folder.services = "http://127.0.0.1:" + std::to_string(server.port());
    const auto unsettled = folder.run(script + "0}\n{\"do\":\"inbox\"}\n");
    EXPECT_EQ(unsettled.end, ProcessEnd {.exitStatus = 3});
    EXPECT_NE(unsettled.errors.find("script:3: "), std::string::npos) << unsettled.errors;
    EXPECT_TRUE(unsettled.answers.empty());

    HostFolder interrupted;
    interrupted.services = folder.services;
    const auto host = interrupted.start(script + "60}\n");
    ASSERT_TRUE(host->waitForOutputLine("Notification from storage :"));
    host->signal(SIGTERM);
    EXPECT_EQ(interrupted.finish(*host).end, success);
    EXPECT_THAT(interrupted.inboxIds(), ElementsAre("a"));
}

TEST(ScriptTest, TextThatIsNotUTF8IsRepairedAndLosesNothing)
{
    HostFolder folder;
    const auto result = folder.run("{\"do\":\"start\"}\n" + pushWithId("a")
        + "{\"do\":\"push\",\"payload\":{\"custom\":{\"i\":\"b\"},\"aps\":{\"alert\":\"\xFF\\ud83c\"}}}\n{\"do\":"
          "\"inbox\"}\n");
    EXPECT_EQ(result.end, success) << result.errors;
    const auto* inbox = result.answers.back().find<Value::Array>("inbox");
    ASSERT_TRUE(inbox);
    ASSERT_EQ(inbox->size(), 2U);
    EXPECT_EQ(*(*inbox)[0].find<std::string>("body"), "\uFFFD\uFFFD");
}

TEST(ScriptTest, TheCommandLineIsChecked)
{
    const std::vector<std::vector<std::string>> rows {{}, {"--data", "a"}, {"--data"},
        {"--data", "a", "--bundle", "b", "--wings", "c"}, {"--data", "a", "--bundle", "b", "--network", "paper"},
        {"--data", "a", "--bundle", "b", "one", "two"}, {"--data", "a", "--bundle", "b", "/nowhere/at/all"},
        {"--data", "a", "--bundle", "b", "--answers", "/nowhere/at/all"}};
    for (const auto& arguments : rows) {
        Process host {{.executable = std::filesystem::path {KOVA_BIN_DIR} / "kova-host", .arguments = arguments}};
        EXPECT_EQ(host.wait(), (ProcessEnd {.exitStatus = 2})) << testing::PrintToString(arguments);
        EXPECT_TRUE(host.standardError().starts_with("kova-host: ")) << host.standardError();
    }
    Process help {{.executable = std::filesystem::path {KOVA_BIN_DIR} / "kova-host", .arguments = {"--help"}}};
    EXPECT_EQ(help.wait(), success);
    for (const auto* command : {"start", "push", "open", "prompt", "tag", "player-id", "subscribe", "extension",
             "inbox", "geo-start", "geotriggers", "geo-upload", "settle", "config", "defaults-get", "defaults-set"})
        EXPECT_NE(help.standardOutput().find(std::string {"\n  "} + command), std::string::npos) << command;
}

} // namespace
} // namespace kova::tests
