// What a push costs by the length of the inbox, from the vendor's call of the SDK's handler until that returns.
//
// Contract: the handler reads the inbox, writes it back whole with one record more, reads it again and logs it whole.
// So the bound is decoding it twice, encoding it once, writing that once, and rendering and writing its line of log
// once. The delivery metric goes to a server that answers at once, on other threads; only handing it over is the
// push's.

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
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/UserDefaults.h"

#include <string>
#include <vector>

namespace {

using namespace kova;
using namespace kova::benchmarks;

std::vector<KovaNotification> decoded(const Data& bytes)
{
    const auto list = PropertyListDecoder::decode(bytes.text());
    require(list && list->as<Value::Array>(), "the inbox cannot be decoded");
    std::vector<KovaNotification> records;
    records.reserve(list->as<Value::Array>()->size());
    for (const auto& value : *list->as<Value::Array>())
        records.push_back(*KovaNotification::decode(value));
    return records;
}

Data encoded(const std::vector<KovaNotification>& records)
{
    Value::Array list;
    for (const auto& record : records)
        list.append(record.encode());
    return *PropertyListEncoder::encode(std::move(list));
}

class PushMeasurement {
public:
    PushMeasurement(const BenchmarkPlatform& platform, const SilentOneSignal& vendor)
        : m_platform(platform)
        , m_vendor(vendor)
    {
    }

    void measure(std::size_t count, int rounds)
    {
        const auto inbox = sampleInbox(count);
        const auto before = encoded(inbox);
        BareStore store {m_platform.folder().path() / ("bare-" + std::to_string(count))};
        Series push;
        Series metric;
        Series decode;
        Series encode;
        Series write;
        Series log;
        for (int round = 0; round < rounds; ++round) {
            NotificationStorage::setBuffer(inbox);
            const auto notification = samplePush(++m_pushes);
            push.measure([&] { m_vendor.received(notification); });
            settle();

            const auto stored = UserDefaults::standard()->object(NotificationStorage::key);
            const auto& bytes = *stored->as<Data>();
            std::vector<KovaNotification> records;
            decode.measure(2, [&] { records = decoded(bytes); });
            require(records.size() == count + 1, "the push is not in the inbox");
            encode.measure([&] { require(encoded(records).size() == bytes.size(), "the encoded lists differ"); });
            // In turn with the shorter list, as the push does it: the same bytes once more would cost less.
            store.replace(before.text());
            write.measure([&] { store.replace(bytes.text()); });
            log.measure(
                [&] { BenchmarkPlatform::writeLog("Notification from storage : " + description(records) + "\n"); });
            metric.measure([] {
                const KovaPushMetrics metrics {URLSession::shared()};
                metrics.post(*metrics.getJson("id"), [](const auto&) { });
            });
            settle();
        }
        report({.what = "push into an inbox of " + std::to_string(count),
            .unit = "us",
            .value = push.microseconds(),
            .bound = 2 * decode.microseconds() + encode.microseconds() + write.microseconds() + log.microseconds(),
            .goal = Goal::ratio(1.5)});
        note("parts: decoding " + shown(decode.microseconds()) + " twice, encoding " + shown(encode.microseconds())
            + ", row written " + shown(write.microseconds()) + ", log " + shown(log.microseconds())
            + "; not in the bound: delivery metric handed over " + shown(metric.microseconds()));
    }

private:
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
        measurement.measure(0, effort.rounds(1'000));
        measurement.measure(100, effort.rounds(500));
        measurement.measure(1'000, effort.rounds(200));
        measurement.measure(10'000, effort.rounds(40));
    }
    OneSignal::setShared(nullptr);
    return 0;
}
