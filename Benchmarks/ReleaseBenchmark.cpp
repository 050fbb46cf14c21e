// What releasing a long buffer costs for each body, beside a bare POST and a bare row deleted.
//
// The release sends the first body as many times as there are bodies, and removes the first after each delivery:
// contract.

#include "Benchmarks/Support/BarePost.h"
#include "Benchmarks/Support/BareStore.h"
#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/OkServer.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/SampleEvent.h"
#include "Benchmarks/Support/Series.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"

int main(int argumentCount, char** arguments)
{
    using namespace kova;
    using namespace kova::benchmarks;
    const Effort effort {argumentCount, arguments};
    const OkServer server;
    const BenchmarkPlatform platform {kSCNetworkReachabilityFlagsReachable, server.url("/v2/")};
    const auto body = *sampleEvent()->toJSON();
    BareMultiPost multi {server.url("/v2/6a1f0c3e9b7d2e4f80a1c5d3"), std::string {body.text()}};
    BareStore row {platform.folder().path() / "bare"};

    Series release;
    Series post;
    Series remove;
    const int rounds = effort.rounds(20);
    constexpr int bodies = 1'000;
    for (int round = 0; round < rounds; ++round) {
        post.measure(bodies, [&] { multi.post(); });
        Value::Array waiting;
        for (int number = 0; number < bodies; ++number) {
            row.insert(body.text());
            waiting.append(Data {std::string {body.text()}});
        }
        remove.measure(bodies, [&] { row.removeFirst(); });
        EventStorage {}.setBuffer(std::move(waiting));
        const auto before = server.requests();
        const auto begin = std::chrono::steady_clock::now();
        EventStorage {}.releaseEvents();
        require(platform.platform().settle(std::chrono::minutes {1}), "the release did not end");
        release.add(std::chrono::steady_clock::now() - begin, bodies);
        require(server.requests() - before == bodies && EventStorage {}.buffer().empty(), "the release was not whole");
    }
    report({.what = "releaseEvents() of 1000 bodies, each",
        .unit = "us",
        .value = release.microseconds(),
        .bound = post.microseconds() + remove.microseconds()});
    note("parts: POST " + shown(post.microseconds()) + ", row deleted " + shown(remove.microseconds()));
    return 0;
}
