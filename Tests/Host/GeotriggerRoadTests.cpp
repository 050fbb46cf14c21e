// The road of a geotrigger through real processes: batches that end in a log, and uploads that end at the collector.

#include "Platform/Foundation/JSONSerialization.h"
#include "Tests/Host/HostRun.h"
#include "Tests/Support/Collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace kova::tests {
namespace {

using Dictionary = Value::Dictionary;
using testing::ElementsAre;

const std::string geoStart = "{\"do\":\"geo-start\",\"launchOptions\":{\"url\":\"x\"}}\n";
const Dictionary started {{"geo-start", Dictionary {{"publicToken", "demo-geofencing-token"}, {"completions", 1}}}};

std::string line(const Dictionary& command)
{
    return std::string {JSONSerialization::data(command)->text()} + "\n";
}

std::string batch(Value::Array geotriggers)
{
    return line({{"do", "geotriggers"}, {"geotriggers", std::move(geotriggers)}});
}

std::string upload(const std::string& data)
{
    return line({{"do", "geo-upload"}, {"data", data}});
}

Dictionary handled(int count)
{
    return {{"geotriggers", Dictionary {{"handled", count}}}};
}

TEST(GeotriggerRoadTest, EveryBatchIsHandledAndNothingIsSent)
{
    const Value::Array odd {
        Dictionary {},
        Dictionary {{"data", ""}},
        Dictionary {{"data", R"({"key":"value"})"}},
        Dictionary {{"data", R"({"a":"b","c":null})"}},
        Dictionary {{"data", std::string {"{\"a\":\"b\"}\0", 10}}},
        Dictionary {{"data", std::string(1'000'000, '[')}},
        Dictionary {{"data", Value {}}},
        Dictionary {{"data", false}},
        Dictionary {{"data", Value::Array {Dictionary {{"a", "b"}}}}},
        Dictionary {{"userInfo", Dictionary {}}},
        Dictionary {{"userInfo", Dictionary {{"action", R"({"key":"value"})"}, {"trigger", "exit"}}}},
    };
    Value::Array many;
    for (int index = 0; index < 10'000; ++index)
        many.append(Dictionary {{"data", R"({"key":"value"})"}});
    Collector collector;
    HostFolder folder;
    folder.services = "http://127.0.0.1:" + std::to_string(collector.port());
    const auto result = folder.run(batch(odd) + geoStart + batch({}) + batch(odd) + batch(many)
        + "{\"do\":\"geotriggers\",\"geotriggers\":[{\"data\":\"{\\\"a\\\":\\\"\xFF\\\"}\"}]}\n"
        + "{\"do\":\"tag\",\"key\":null,\"value\":null}\n" + geoStart);
    ASSERT_EQ(result.end, success) << result.errors;
    const auto oddCount = static_cast<int>(odd.size());
    EXPECT_THAT(result.answers,
        ElementsAre(handled(0), started, handled(0), handled(oddCount), handled(10'000), handled(1),
            Dictionary {{"tag", Dictionary {}}}, started));
    EXPECT_EQ(result.count("GEOTRIGGER : Geotrigger initialized 1"), 2U);
    EXPECT_EQ(result.count("GEOTRIGGER : handled geotrigger"), 4U);
    EXPECT_EQ(result.count("GEOTRIGGER : Entered handler"), odd.size() + 10'001);
    EXPECT_EQ(result.log.size(), odd.size() + 10'001 + 4 + 2) << "nothing else is said";
    EXPECT_TRUE(collector.requests().empty());
}

TEST(GeotriggerRoadTest, UploadsReachTheWebService)
{
    struct Row {
        std::vector<std::string> options;
        const char* printed;
    };
    const Row rows[] {{{}, "success"}, {{"--status", "204"}, "success"},
        {{"--status", "401"}, "failure(authentication)"}, {{"--status", "404"}, "failure(authentication)"},
        {{"--status", "500"}, "failure(authentication)"}, {{"--status", "600"}, "failure(outdated)"}};
    for (const auto& row : rows) {
        Collector collector {row.options};
        HostFolder folder;
        folder.services = "http://127.0.0.1:" + std::to_string(collector.port());
        const auto result = folder.run(
            upload("{}") + line({{"do", "subscribe"}, {"userId", "são paulo?"}}) + upload(R"({"loja":"Recife"})"));
        ASSERT_EQ(result.end, success) << result.errors;
        const Dictionary succeeded {{"geo-upload", Dictionary {{"success", true}}}};
        EXPECT_THAT(result.answers, ElementsAre(succeeded, succeeded)) << row.printed;

        const std::string base = folder.services + "/v1/geotriggers/";
        const auto reply = row.options == std::vector<std::string> {"--status", "204"}
            ? "ResultOptional(\"\")"
            : R"(ResultOptional("{\"ok\":true}"))";
        EXPECT_THAT(result.log,
            ElementsAre("posting some geotrigger", "Request: " + base, reply, row.printed, "posting some geotrigger",
                "Request: " + base + "s%C3%A3o%20paulo%3F", reply, row.printed));
        const auto requests = collector.requests();
        ASSERT_EQ(requests.size(), 2U);
        EXPECT_EQ(requests[0].path, "/v1/geotriggers/");
        EXPECT_EQ(requests[1].path, "/v1/geotriggers/s%C3%A3o%20paulo%3F");
        EXPECT_EQ(requests[1].method, "POST");
        EXPECT_EQ(requests[1].body, R"({"loja":"Recife"})");
        EXPECT_EQ(*requests[1].header("Content-Type"), "application/json");
        EXPECT_EQ(*requests[1].header("x-api-key"), "demo-api-key");
    }
}

TEST(GeotriggerRoadTest, AnUploadThatFailsIsAnsweredAndLost)
{
    Collector resets {{"--reset"}};
    HostFolder reset;
    reset.services = "http://127.0.0.1:" + std::to_string(resets.port());
    const auto lost = reset.run(upload("{}"));
    ASSERT_EQ(lost.end, success) << lost.errors;
    EXPECT_THAT(lost.answers,
        ElementsAre(Dictionary {
            {"geo-upload", Dictionary {{"failure", "The connection was lost before the reply was complete"}}}}));
    EXPECT_EQ(lost.log.size(), 2U) << "nothing is printed after the request";
    EXPECT_EQ(resets.requests().size(), 1U) << "nothing is retried";

    Collector slow {{"--delay", "60000"}};
    HostFolder interrupted;
    interrupted.services = "http://127.0.0.1:" + std::to_string(slow.port());
    const auto host = interrupted.start(upload("{}"));
    ASSERT_EQ(slow.waitForRequests(1).size(), 1U);
    host->signal(SIGTERM);
    const auto cancelled = interrupted.finish(*host);
    EXPECT_EQ(cancelled.end, success) << cancelled.errors;
    EXPECT_THAT(cancelled.answers,
        ElementsAre(Dictionary {{"geo-upload", Dictionary {{"failure", "The request was cancelled"}}}}));
}

TEST(GeotriggerRoadTest, AGeotriggerWithoutUserInfoStopsTheProcess)
{
    HostFolder folder;
    const auto result
        = folder.run(geoStart + batch({Dictionary {{"data", "a"}}, Dictionary {{"userInfo", Value {}}}}) + geoStart);
    EXPECT_EQ(result.end, ProcessEnd {.signal = SIGABRT});
    EXPECT_NE(result.errors.find("Fatal error: a geotrigger has no userInfo"), std::string::npos) << result.errors;
    EXPECT_THAT(result.answers, ElementsAre(started));
    EXPECT_EQ(result.count("GEOTRIGGER : Entered handler"), 2U);
    EXPECT_EQ(result.count("GEOTRIGGER : handled geotrigger"), 0U);
}

TEST(GeotriggerRoadTest, CommandsAreChecked)
{
    const std::pair<const char*, const char*> rows[] {
        {R"({"do":"geo-start","launchOptions":7})", "\"launchOptions\" must be an object"},
        {R"({"do":"geotriggers"})", "\"geotriggers\" is missing"},
        {R"({"do":"geotriggers","geotriggers":{}})", "\"geotriggers\" must be a list"},
        {R"({"do":"geotriggers","geotriggers":[{},7]})", "must be an object"},
        {R"({"do":"geotriggers","geotriggers":[{"userInfo":7}]})", "\"userInfo\" must be an object or null"},
        {R"({"do":"geotriggers","geotriggers":[{"userInfo":{},"data":7}]})", "no \"data\" beside it"},
        {R"({"do":"geo-upload","data":{}})", "\"data\" must be a text"},
    };
    for (const auto& [command, message] : rows) {
        HostFolder folder;
        const auto result = folder.run(geoStart + command + "\n" + geoStart);
        EXPECT_EQ(result.end, ProcessEnd {.exitStatus = 2}) << command;
        EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
        EXPECT_THAT(result.answers, ElementsAre(started));
    }
}

} // namespace
} // namespace kova::tests
