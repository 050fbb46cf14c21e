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

std::string batch(const Value::Array& geotriggers)
{
    return command("geotriggers", "\"geotriggers\":" + std::string {JSONSerialization::data(geotriggers)->text()});
}

Dictionary handled(int count)
{
    return {{"geotriggers", Dictionary {{"handled", count}}}};
}

TEST(GeotriggerRoadTest, EveryBatchIsHandledAndNothingIsSent)
{
    const Value::Array odd {
        Dictionary {},
        Dictionary {{"data", R"({"key":"value"})"}},
        Dictionary {{"data", std::string {"{\"a\":\"b\"}\0", 10}}},
        Dictionary {{"data", false}},
        Dictionary {{"userInfo", Dictionary {}}},
        Dictionary {{"userInfo", Dictionary {{"action", R"({"key":"value"})"}, {"trigger", "exit"}}}},
    };
    Value::Array many;
    for (int index = 0; index < 10'000; ++index)
        many.append(odd[1]);
    Collector collector;
    HostFolder folder {collector.port()};
    const auto geoStart = command("geo-start", R"("launchOptions":{"url":"x"})");
    const auto result = folder.run(batch(odd) + geoStart + batch({}) + batch(odd) + batch(many)
        + command("geotriggers", "\"geotriggers\":[{\"data\":\"{\\\"a\\\":\\\"\xFF\\\"}\"}]")
        + command("tag", R"("key":null,"value":null)") + geoStart);
    ASSERT_EQ(result.end, success) << result.errors;
    const Dictionary started {{"geo-start", Dictionary {{"publicToken", "demo-geofencing-token"}, {"completions", 1}}}};
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
    for (const auto& [status, printed] : {std::pair {"200", "success"}, {"404", "failure(authentication)"}}) {
        Collector collector {{"--status", status}};
        HostFolder folder {collector.port()};
        const auto result
            = folder.run(command("geo-upload", R"("data":"{}")") + command("subscribe", R"("userId":"são paulo?")")
                + command("geo-upload", R"("data":"{\"loja\":\"Recife\"}")"));
        ASSERT_EQ(result.end, success) << result.errors;
        const Dictionary succeeded {{"geo-upload", Dictionary {{"success", true}}}};
        EXPECT_THAT(result.answers, ElementsAre(succeeded, succeeded)) << printed;

        const std::string base = folder.services + "/v1/geotriggers/";
        const auto* reply = R"(ResultOptional("{\"ok\":true}"))";
        EXPECT_THAT(result.log,
            ElementsAre("posting some geotrigger", "Request: " + base, reply, printed, "posting some geotrigger",
                "Request: " + base + "s%C3%A3o%20paulo%3F", reply, printed));
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

TEST(GeotriggerRoadTest, AnUploadEndsWithTheHost)
{
    Collector slow {{"--delay", "60000"}};
    HostFolder folder {slow.port()};
    const auto host = folder.start(command("geo-upload", R"("data":"{}")"));
    ASSERT_EQ(slow.waitForRequests(1).size(), 1U);
    host->signal(SIGTERM);
    const auto result = folder.finish(*host);
    EXPECT_EQ(result.end, success) << result.errors;
    EXPECT_THAT(result.answers,
        ElementsAre(Dictionary {{"geo-upload", Dictionary {{"failure", "The request was cancelled"}}}}));
}

} // namespace
} // namespace kova::tests
