// The least that a host of the SDK can be: it starts pushes, events and geotriggers, receives a push, saves an event,
// and ends. No notification centre.
//
// process-benchmark runs it and reads what it prints: how many microseconds installing the platform took, and starting
// the SDK; how many KiB are resident when all is quiet; how many microseconds ending took. size-benchmark reads its
// file.
// usage: minimal-host DATA-FOLDER BUNDLE-FOLDER

#include "Benchmarks/Support/ResidentMemory.h"
#include "Benchmarks/Support/SilentOneSignal.h"
#include "KovaSDK/Events/EventModels/CartEvent.h"
#include "KovaSDK/Events/EventModels/PageEvent.h"
#include "KovaSDK/Geolocation/GeolocationServices/KovaGeotrigger.h"
#include "KovaSDK/Push/KovaNotify.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Platform.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>

namespace {

using namespace kova;
using Clock = std::chrono::steady_clock;

class SilentPlotProjects final : public PlotDebug {
public:
    void initializeWithLaunchOptions(const std::optional<AnyDictionary>&, std::weak_ptr<PlotDelegate>) override { }
};

void saveEvents()
{
    CartEvent cart {EventType::cartAddProduct};
    cart.start("pão de queijo");
    cart.addMetric("price", 5);
    cart.save();
    PageEvent page {EventType::pageView};
    page.start("cardápio");
    page.record();
    page.save();
}

double microseconds(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::micro> {to - from}.count();
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 3)
        return 2;
    setPrintSink([](std::string_view) { });
    const auto vendor = std::make_shared<benchmarks::SilentOneSignal>();
    OneSignal::setShared(vendor);
    PlotDebug::setShared(std::make_shared<SilentPlotProjects>());
    // Nobody listens there: what would be sent is refused at once.
    const std::string nowhere = "http://127.0.0.1:9/v2/";

    const auto begin = Clock::now();
    std::optional<DevicePlatform> platform;
    platform.emplace(DevicePlatformOptions {.bundleIdentifier = "example.benchmark",
        .bundleFolder = arguments[2],
        .dataFolder = arguments[1],
        .serviceAddresses = {.eventsBaseURL = nowhere, .metricsBaseURL = nowhere, .geotriggersBaseURL = nowhere}});
    const auto installed = Clock::now();
    KovaNotify::initWithCallbacks(std::nullopt);
    const auto started = Clock::now();

    const auto geotrigger = std::make_shared<KovaGeotrigger>(std::nullopt);
    geotrigger->start();
    saveEvents();
    vendor->received(benchmarks::samplePush(1));
    if (!platform->settle(std::chrono::seconds {10}))
        return 1;
    const auto resident = benchmarks::residentKiB();
    const auto ending = Clock::now();
    platform.reset();
    const auto ended = Clock::now();
    std::printf("%.1f %.1f %.0f %.1f\n", microseconds(begin, installed), microseconds(installed, started), resident,
        microseconds(ending, ended));
    return 0;
}
