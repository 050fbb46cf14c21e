// What making the body of an event costs, beside a JSON writer that is given the same texts ready.
//
// Contract: the audience's id comes from the configuration, which is read afresh for every event. That is most of the
// cost, so a second line counts it into the bound.

#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/SampleEvent.h"
#include "Benchmarks/Support/Series.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace kova;
using namespace kova::benchmarks;

using Texts = std::vector<std::pair<std::string, std::string>>;
using Numbers = std::vector<std::pair<std::string, double>>;

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void write(Writer& writer, std::string_view text)
{
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

std::string bareBody(const Texts& head, double timeStamp, const Texts& attributes, const Numbers& metrics)
{
    rapidjson::StringBuffer buffer;
    Writer writer {buffer};
    writer.StartObject();
    for (const auto& [key, text] : head) {
        write(writer, key);
        write(writer, text);
        if (key == "audience_id") {
            write(writer, "user_timestamp");
            writer.Double(timeStamp);
        }
    }
    write(writer, "attributes");
    writer.StartObject();
    for (const auto& [key, text] : attributes) {
        write(writer, key);
        write(writer, text);
    }
    writer.EndObject();
    write(writer, "metrics");
    writer.StartObject();
    for (const auto& [key, number] : metrics) {
        write(writer, key);
        writer.Double(number);
    }
    writer.EndObject();
    writer.EndObject();
    return {buffer.GetString(), buffer.GetSize()};
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const Effort effort {argumentCount, arguments};
    const BenchmarkPlatform platform {0, "http://127.0.0.1:9/v2/"};
    const auto event = sampleEvent();
    // Numbers that both write alike: a whole one would be 10 here and 10.0 there.
    event->timeStamp.secondsSince1970 = 1'700'000'000.25;
    event->metrics.insert_or_assign("quantity", 1.5);
    const Texts head {{"audience_id", "audience"}, {"player_id", event->userId}, {"type", event->eventType}};
    Texts attributes;
    for (const auto& [key, text] : event->attributes)
        attributes.emplace_back(*key.text(), text);
    Numbers metrics;
    for (const auto& [key, number] : event->metrics)
        metrics.emplace_back(*key.text(), number);
    const auto makeBare = [&] { return bareBody(head, event->timeStamp.secondsSince1970, attributes, metrics); };
    require(event->toJSON()->text() == makeBare(), "the two bodies differ");

    Series toJSON;
    Series bare;
    Series configuration;
    constexpr int calls = 100;
    const int rounds = effort.rounds(500);
    for (int round = 0; round < rounds; ++round) {
        bare.measure(calls, [&] { require(!makeBare().empty(), "there is no body"); });
        configuration.measure(calls, [&] { platform.readConfiguration(); });
        toJSON.measure(calls, [&] { require(event->toJSON().has_value(), "there is no body"); });
    }
    report({.what = "toJSON() of " + std::to_string(makeBare().size()) + " bytes",
        .unit = "ns",
        .value = toJSON.seconds() * 1e9,
        .bound = bare.seconds() * 1e9});
    report({.what = "toJSON(), its read of the configuration counted",
        .unit = "ns",
        .value = toJSON.seconds() * 1e9,
        .bound = (bare.seconds() + configuration.seconds()) * 1e9});
    return 0;
}
