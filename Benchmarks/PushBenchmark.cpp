// What a push costs by the length of the inbox, from the vendor's call of the SDK's handler until that returns.
//
// Contract: the handler writes the whole inbox with one record more, and logs it whole. So the bound is writing the
// same bytes bare: the list into one row, and the line to where the log goes. Everything else is the SDK's own work.
// The delivery metric goes to a server that answers at once, on other threads; only handing it over is the push's.

#include "Benchmarks/Support/BareStore.h"
#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/OkServer.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/SampleInbox.h"
#include "Benchmarks/Support/Series.h"
#include "Benchmarks/Support/SilentOneSignal.h"
#include "KovaSDK/Push/KovaNotify.h"
#include "KovaSDK/Push/PushServices/KovaPushMetrics.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Foundation/UserDefaults.h"

#include <string>
#include <vector>

namespace {

using namespace kova;
using namespace kova::benchmarks;

class PushMeasurement {
public:
    PushMeasurement(const BenchmarkPlatform& platform, const SilentOneSignal& vendor)
        : m_platform(platform)
        , m_vendor(vendor)
    {
    }

    void measure(std::size_t count, int rounds, double goal)
    {
        const auto inbox = sampleInbox(count);
        BareStore store {m_platform.folder().path() / ("bare-" + std::to_string(count))};
        Series push;
        Series metric;
        Series write;
        Series log;
        for (int round = 0; round < rounds; ++round) {
            NotificationStorage::setBuffer(inbox);
            const auto before = stored();
            const auto notification = samplePush(++m_pushes);
            push.measure([&] { m_vendor.received(notification); });
            settle();

            const auto bytes = stored();
            const auto records = NotificationStorage::buffer();
            require(records.size() == count + 1, "the push is not in the inbox");
            const auto line = "Notification from storage : " + description(records) + "\n";
            // In turn with the shorter list, as the push does it: the same bytes once more would cost less.
            store.replace(before.text());
            write.measure([&] { store.replace(bytes.text()); });
            log.measure([&] { BenchmarkPlatform::writeLog(line); });
            metric.measure([] {
                const KovaPushMetrics metrics {URLSession::shared()};
                metrics.post(*metrics.getJson("id"), [](const auto&) { });
            });
            settle();
        }
        report({.what = "push into an inbox of " + std::to_string(count),
            .unit = "us",
            .value = push.microseconds(),
            .bound = write.microseconds() + log.microseconds(),
            .goal = Goal::ratio(goal)});
        note("parts: row " + shown(write.microseconds()) + ", log " + shown(log.microseconds())
            + "; not in the bound: delivery metric handed over " + shown(metric.microseconds()));
    }

private:
    [[nodiscard]] static Data stored()
    {
        const auto value = UserDefaults::standard()->object(NotificationStorage::key);
        require(value && value->as<Data>(), "there is no inbox");
        return *value->as<Data>();
    }
    void settle() const { require(m_platform.platform().settle(std::chrono::minutes {1}), "a metric is under way"); }

    const BenchmarkPlatform& m_platform;
    const SilentOneSignal& m_vendor;
    int m_pushes = 0;
};

} // namespace

int main(int argumentCount, char** arguments)
{
    const Effort effort {argumentCount, arguments};
    const OkServer server;
    const auto vendor = std::make_shared<SilentOneSignal>();
    OneSignal::setShared(vendor);
    {
        const BenchmarkPlatform platform {0, server.url("/v2/")};
        KovaNotify::initWithCallbacks(std::nullopt);
        PushMeasurement measurement {platform, *vendor};
        measurement.measure(0, effort.rounds(1'000), 2);
        measurement.measure(100, effort.rounds(500), 8);
        measurement.measure(1'000, effort.rounds(200), 8);
        measurement.measure(10'000, effort.rounds(40), 8);
    }
    OneSignal::setShared(nullptr);
    return 0;
}
