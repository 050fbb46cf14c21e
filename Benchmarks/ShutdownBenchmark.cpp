// How long the platform takes to end, with nothing going on and with requests that the server never answers.
//
// Ending brings what was stored to the disk itself; the bound is a bare database that does so as it is closed.

#include "Benchmarks/Support/BareStore.h"
#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/SampleEvent.h"
#include "Benchmarks/Support/Series.h"
#include "Benchmarks/Support/SilentServer.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"

#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace kova;
using namespace kova::benchmarks;

void measureClosing(Series& closing)
{
    const BenchmarkFolder folder;
    std::optional<BareStore> store {folder.path() / "bare"};
    store->insert("a row in the log");
    closing.measure([&] { store.reset(); });
}

void measureIdle(Series& idle)
{
    BenchmarkPlatform platform {0, "http://127.0.0.1:9/v2/"};
    sampleEvent()->save();
    require(platform.platform().settle(std::chrono::seconds {10}), "something is under way");
    idle.measure([&] { platform.shutDown(); });
}

void measureBusy(Series& busy)
{
    constexpr int callers = 4;
    SilentServer server;
    BenchmarkPlatform platform {kSCNetworkReachabilityFlagsReachable, server.url("/v2/")};
    std::vector<std::thread> threads;
    for (int caller = 0; caller < callers; ++caller)
        threads.emplace_back([] { sampleEvent()->save(); });
    server.takeRequests(callers);
    busy.measure([&] { platform.shutDown(); });
    for (auto& thread : threads)
        thread.join();
}

void reportBoth(const std::string& what, Series& ending, Series& closing)
{
    report({.what = what,
        .unit = "ms",
        .value = ending.seconds() * 1e3,
        .bound = closing.seconds() * 1e3,
        .goal = Goal::value(50)});
    report({.what = what + ", the longest",
        .unit = "ms",
        .value = ending.quantile(1) * 1e3,
        .bound = closing.quantile(1) * 1e3,
        .goal = Goal::value(50)});
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const Effort effort {argumentCount, arguments};
    Series closing;
    Series idle;
    Series busy;
    const int rounds = effort.rounds(100);
    for (int round = 0; round < rounds; ++round) {
        measureClosing(closing);
        measureIdle(idle);
        measureBusy(busy);
    }
    reportBoth("shutdown, nothing under way", idle, closing);
    reportBoth("shutdown, 4 requests in flight", busy, closing);
    return 0;
}
