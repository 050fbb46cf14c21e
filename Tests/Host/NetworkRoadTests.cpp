// The real network as a whole host sees it: links and routes come and go in a namespace of the test's own, and the host
// says each change once, answers with it, and releases what waited.

#include "Tests/Host/HostRun.h"
#include "Tests/Support/Collector.h"
#include "Tests/Support/NetworkNamespace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kova::tests {
namespace {

using testing::ElementsAreArray;

std::vector<std::string> trackerLines(const HostResult& result)
{
    std::vector<std::string> lines;
    for (const auto& line : result.log) {
        if (line.starts_with("NETWORK : "))
            lines.push_back(line.substr(std::string_view {"NETWORK : "}.size()));
    }
    return lines;
}

TEST(NetworkHostTest, FollowsLinksAndRoutesAndSaysEachChangeOnce)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    const NetworkNamespace network;
    const auto modem = network.makeRawIPLink("wwan0");
    const Collector collector;
    HostFolder folder {collector.port()};
    folder.network = "real";
    const auto host = folder.start();
    // Lets everything end that the last change has begun, asks for the status, and waits until the answer is written,
    // which the log line of the next command shows.
    const auto askForStatus = [&] {
        host->writeInput(
            settle + command("status") + command("open", R"("payload":{"custom":{"i":"asked"},"aps":{"alert":"x"}})"));
        EXPECT_TRUE(host->waitForOutputLine("NOTIFICATIONS : Notification Result: "));
    };
    host->writeInput(start);
    askForStatus();

    struct Step {
        const char* description;
        const char* commands;
        std::string status;
        bool savesAnEvent = false;
    };
    std::vector<Step> steps {
        {"link up", "link set peer0 up\nlink set eth0 up\nroute add default via 10.9.0.2\n", "wifi"},
        {"default route gone", "route del default\n", "unreachable", true},
        {"default route back", "route add default via 10.9.0.2\n", "wifi"},
        {"link down, which takes the route along", "link set eth0 down\n", "unreachable"},
        {"link up again", "link set eth0 up\nroute add default via 10.9.0.2\n", "wifi"},
    };
    if (modem)
        steps.push_back({"another link in its place, of a modem",
            "link set wwan0 up\nroute replace default dev wwan0\nlink set eth0 down\n", "wwan"});
    std::vector<Value> answers {Value::Dictionary {{"status", "unreachable"}}};
    // The first state is none that differs from what a monitor begins with, so nothing is said of it.
    std::vector<std::string> lines;
    for (const auto& step : steps) {
        SCOPED_TRACE(step.description);
        network.runBatch(step.commands);
        ASSERT_EQ(host->waitForOutputLine("NETWORK : Status: "), "NETWORK : Status: " + step.status);
        askForStatus();
        answers.emplace_back(Value::Dictionary {{"status", step.status}});
        for (const auto* line : {"Checking status", "Updating network status", "Reachability Summary"})
            lines.emplace_back(line);
        lines.push_back("Status: " + step.status);
        if (step.savesAnEvent) {
            host->writeInput(saveEvent("waited"));
            answers.emplace_back(Value::Dictionary {{"saved", true}});
        }
    }
    host->closeInput();
    const auto result = folder.finish(*host);
    EXPECT_EQ(result.end, success) << result.errors;
    EXPECT_THAT(result.answers, ElementsAreArray(answers));
    EXPECT_THAT(trackerLines(result), ElementsAreArray(lines));
    // The event that was saved without a network went out with the next one.
    const auto requests = collector.requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_NE(requests[0].body.find("waited"), std::string::npos) << requests[0].body;
    if (!modem)
        GTEST_SKIP() << "all but the cellular link was shown: a tun device cannot be made here";
}

} // namespace
} // namespace kova::tests
