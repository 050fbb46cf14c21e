// What saving an event offline costs, beside the parts that it cannot do without.
//
// Contract: the configuration is read afresh for every event, and an event is on its way to the disk when save()
// returns. So the bound is one read and parse of the configuration, one row in a transaction of its own, and one line
// of log. The network's flags come from a service that answers at once and costs nothing.

#include "Benchmarks/Support/BareStore.h"
#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/SampleEvent.h"
#include "Benchmarks/Support/Series.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"

#include <deque>
#include <utility>

namespace {

using namespace kova;
using namespace kova::benchmarks;

Value::Array bodies(int count)
{
    Value::Array list;
    for (int number = 0; number < count; ++number)
        list.append(Data {std::string(280, 'x') + std::to_string(number)});
    return list;
}

/// Saving to a buffer of one length, and its parts.
struct Length {
    Length(const std::filesystem::path& folder, int count)
        : buffered(count)
        , row(folder / ("bare-" + std::to_string(count)))
    {
    }

    /// A hundred saves, so that the buffer has this length or a little more at each.
    void measure(const BenchmarkPlatform& platform, Event& event, std::string_view body)
    {
        constexpr int saves = 100;
        EventStorage {}.setBuffer(bodies(buffered));
        for (int number = 0; number < saves; ++number) {
            configuration.measure([&] { platform.readConfiguration(); });
            insert.measure([&] { row.insert(body); });
            line.measure([] { BenchmarkPlatform::writeLog("Event Save: Send data to buffer array\n"); });
            save.measure([&] { event.save(); });
        }
        require(std::cmp_equal(EventStorage {}.buffer().size(), buffered + saves), "an event was not saved");
    }

    int buffered;
    BareStore row;
    Series configuration {};
    Series insert {};
    Series line {};
    Series save {};
};

} // namespace

int main(int argumentCount, char** arguments)
{
    const Effort effort {argumentCount, arguments};
    const BenchmarkPlatform platform {0, "http://127.0.0.1:9/v2/"};
    const auto event = sampleEvent();
    const auto body = *event->toJSON();
    std::deque<Length> lengths;
    for (const int buffered : {0, 1'000, 10'000})
        lengths.emplace_back(platform.folder().path(), buffered);
    const int rounds = effort.rounds(30);
    for (int round = 0; round < rounds; ++round) {
        for (auto& length : lengths)
            length.measure(platform, *event, body.text());
    }
    for (auto& length : lengths) {
        report({.what = "save() offline, " + std::to_string(length.buffered) + " buffered",
            .unit = "us",
            .value = length.save.microseconds(),
            .bound = length.configuration.microseconds() + length.insert.microseconds() + length.line.microseconds(),
            .goal = Goal::ratio(1.5)});
        note("parts: configuration " + shown(length.configuration.microseconds()) + ", row "
            + shown(length.insert.microseconds()) + ", line " + shown(length.line.microseconds()) + "; body of "
            + std::to_string(body.size()) + " bytes");
    }
    auto& empty = lengths.front();
    auto& full = lengths.back();
    // A fast device writes a row in 20 us; an event is then to be safe in less than 58.
    report({.what = "save() offline, against one bare row",
        .unit = "us",
        .value = empty.save.microseconds(),
        .bound = empty.insert.microseconds(),
        .goal = Goal::ratio(2.9)});
    report({.what = "save() offline, 10000 against 0 buffered",
        .unit = "us",
        .value = full.save.microseconds(),
        .bound = empty.save.microseconds(),
        .goal = Goal::ratio(1.5)});
    report({.what = "save() offline, 10000 buffered: p99 against p50",
        .unit = "us",
        .value = full.save.quantile(0.99) * 1e6,
        .bound = full.save.microseconds(),
        .goal = Goal::ratio(10)});
    note("a bare row's own p99 is " + shown(full.insert.quantile(0.99) / full.insert.median()) + " times its p50");
    return 0;
}
