// How long an event takes from save() to the reply of a server that answers at once, beside the same POST with nothing
// on top.
//
// Contract: the configuration is read afresh for every event, so one bare read and parse of it is in the bound of
// save(); the network's flags come from a service that answers at once and costs nothing. Single calls take turns, and
// medians are shown: on which cores the scheduler wakes the threads changes a call's time up to threefold, and may stay
// so for long.

#include "Benchmarks/Support/BarePost.h"
#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/OkServer.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/SampleEvent.h"
#include "Benchmarks/Support/Series.h"
#include "KovaSDK/Events/EventServices/EventService.h"

int main(int argumentCount, char** arguments)
{
    using namespace kova;
    using namespace kova::benchmarks;
    const Effort effort {argumentCount, arguments};
    const OkServer server;
    const BenchmarkPlatform platform {kSCNetworkReachabilityFlagsReachable, server.url("/v2/")};
    const auto event = sampleEvent();
    const auto body = *event->toJSON();
    const auto url = server.url("/v2/6a1f0c3e9b7d2e4f80a1c5d3");
    BareMultiPost multi {url, std::string {body.text()}};
    BareEasyPost easy {url, std::string {body.text()}};

    Series publishing;
    Series saving;
    Series bareMulti;
    Series bareEasy;
    Series configuration;
    const int rounds = effort.rounds(10'000);
    for (int round = 0; round < rounds; ++round) {
        bareMulti.measure([&] { multi.post(); });
        publishing.measure([&] {
            EventService {}.publish(body,
                [](const PublicationOutcome& outcome) { require(outcome && *outcome, "an event was not delivered"); });
        });
        saving.measure([&] { event->save(); });
        configuration.measure([&] { platform.readConfiguration(); });
        bareEasy.measure([&] { easy.post(); });
    }
    require(server.requests() == std::uint64_t {4} * static_cast<std::uint64_t>(rounds), "a request is missing");
    report({.what = "save() online to the reply over loopback",
        .unit = "us",
        .value = saving.microseconds(),
        .bound = bareMulti.microseconds() + configuration.microseconds(),
        .goal = Goal::ratio(1.1)});
    report({.what = "publish() to the reply over loopback",
        .unit = "us",
        .value = publishing.microseconds(),
        .bound = bareMulti.microseconds(),
        .goal = Goal::ratio(1.1)});
    note("events/s: save() " + shown(1 / saving.seconds()) + ", publish() " + shown(1 / publishing.seconds())
        + ", the bare multi handle " + shown(1 / bareMulti.seconds()) + ", a bare easy handle in a loop "
        + shown(1 / bareEasy.seconds()));
    return 0;
}
