// What a batch of geotriggers costs, beside parsing their data and writing the lines of log.
//
// Contract: the data is parsed twice, and what is parsed is never of the kind that is uploaded.

#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/Series.h"
#include "KovaSDK/Extensions/String.h"
#include "KovaSDK/Geolocation/GeolocationServices/KovaGeotrigger.h"

#include <rapidjson/reader.h>

#include <memory>
#include <string>

namespace {

using namespace kova;
using namespace kova::benchmarks;

constexpr int geotriggersOfABatch = 10;

const std::string& data()
{
    static const std::string text = R"({"campaign":"inverno","offer":"pão de queijo","store":"Rua Augusta, 1500"})";
    return text;
}

class Batch final : public PlotHandleGeotriggers {
public:
    Batch()
    {
        for (int number = 0; number < geotriggersOfABatch; ++number) {
            Value::Dictionary userInfo {
                {"identifier", std::to_string(number)}, {PlotGeotriggerDataKey, data()}, {"trigger", "enter"}};
            m_geotriggers.push_back(std::make_shared<PlotGeotrigger>(PlotGeotrigger {.userInfo = std::move(userInfo)}));
        }
    }
    [[nodiscard]] std::optional<List> geotriggers() const override { return m_geotriggers; }
    void markGeotriggersHandled(const std::optional<List>& geotriggers) override { m_handled += geotriggers->size(); }
    [[nodiscard]] std::size_t handled() const { return m_handled; }

private:
    List m_geotriggers;
    std::size_t m_handled = 0;
};

/// The JSON reader alone, which keeps nothing of what it reads.
bool read(const std::string& text)
{
    rapidjson::BaseReaderHandler<> handler;
    rapidjson::MemoryStream stream {text.data(), text.size()};
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> input {stream};
    rapidjson::Reader reader;
    return !reader.Parse<rapidjson::kParseValidateEncodingFlag>(input, handler).IsError();
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const Effort effort {argumentCount, arguments};
    const BenchmarkPlatform platform {0, "http://127.0.0.1:9/v2/"};
    const auto delegate = std::make_shared<KovaGeotrigger>(std::nullopt);
    const auto batch = std::make_shared<Batch>();
    Series handling;
    Series parsing;
    Series reading;
    Series lines;
    constexpr int calls = 20;
    const int rounds = effort.rounds(1'000);
    for (int round = 0; round < rounds; ++round) {
        handling.measure(calls, [&] { delegate->plotHandleGeotriggers(batch); });
        parsing.measure(calls, [] {
            for (int number = 0; number < 2 * geotriggersOfABatch; ++number)
                require(toJSON(data()).has_value(), "the data cannot be parsed");
        });
        lines.measure(calls, [] {
            for (int number = 0; number < geotriggersOfABatch; ++number)
                BenchmarkPlatform::writeLog("GEOTRIGGER : Entered handler\n");
            BenchmarkPlatform::writeLog("GEOTRIGGER : handled geotrigger\n");
        });
        reading.measure(calls, [] {
            for (int number = 0; number < 2 * geotriggersOfABatch; ++number)
                require(read(data()), "the data cannot be read");
        });
    }
    require(batch->handled() == static_cast<std::size_t>(rounds) * calls * geotriggersOfABatch,
        "a geotrigger was not handled");
    report({.what = "batch of " + std::to_string(geotriggersOfABatch) + " geotriggers",
        .unit = "us",
        .value = handling.microseconds(),
        .bound = parsing.microseconds() + lines.microseconds(),
        .goal = Goal::ratio(1.5)});
    note("parts: parsing into values " + shown(parsing.microseconds()) + " (the JSON reader alone "
        + shown(reading.microseconds()) + "), lines " + shown(lines.microseconds()));
    return 0;
}
