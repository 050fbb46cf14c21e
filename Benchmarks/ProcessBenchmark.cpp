// What the SDK costs a process: starting it on a full store, the memory that it holds, and its whole life.
//
// Beside minimal-host stands a process that opens curl and SQLite and does nothing with them. Each is run again and
// again, so that what a process pays once, such as setting up TLS, is paid every time.

#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/Program.h"
#include "Benchmarks/Support/SampleInbox.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"

#include <string>

namespace {

using namespace kova;
using namespace kova::benchmarks;

// What minimal-host prints, and what bare-process prints.
enum HostNumber { installingUs, startingUs, residentKiB, endingUs };
enum BareNumber { openingUs, bareResidentKiB };

void fillStore(const std::filesystem::path& dataFolder)
{
    constexpr int bufferedEvents = 10'000;
    constexpr int inboxRecords = 1'000;
    const DevicePlatform platform {{.bundleIdentifier = "example.benchmark", .dataFolder = dataFolder}};
    Value::Array bodies;
    for (int number = 0; number < bufferedEvents; ++number)
        bodies.append(Data {std::string(280, 'x') + std::to_string(number)});
    EventStorage {}.setBuffer(std::move(bodies));
    NotificationStorage::setBuffer(sampleInbox(inboxRecords));
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const Effort effort {argumentCount, arguments};
    const BenchmarkFolder folder;
    const auto full = folder.path() / "full";
    fillStore(full);
    Program bare {"bare-process", {folder.path() / "bare.sqlite"}};
    Program host {"minimal-host", {folder.path() / "data", folder.path()}};
    Program fullHost {"minimal-host", {full, folder.path()}};
    const int rounds = effort.rounds(200);
    for (int round = 0; round < rounds; ++round) {
        bare.run();
        host.run();
        fullHost.run();
    }
    const auto opening = bare.printed(openingUs).median() / 1e3;
    const auto installing = fullHost.printed(installingUs).median() / 1e3;
    const auto starting = fullHost.printed(startingUs).median() / 1e3;
    report({.what = "initWithCallbacks(), 10000 buffered, inbox of 1000",
        .unit = "ms",
        .value = starting,
        .goal = Goal::value(3)});
    report({.what = "platform installed and initWithCallbacks()",
        .unit = "ms",
        .value = installing + starting,
        .bound = opening});
    report({.what = "minimal host: start to end of the process",
        .unit = "ms",
        .value = host.wholeRun().median() * 1e3,
        .bound = bare.wholeRun().median() * 1e3});
    report({.what = "minimal host: shutdown, nothing under way",
        .unit = "ms",
        .value = host.printed(endingUs).median() / 1e3,
        .goal = Goal::value(50)});
    report({.what = "minimal host: resident memory",
        .unit = "MiB",
        .value = host.printed(residentKiB).median() / 1024,
        .bound = bare.printed(bareResidentKiB).median() / 1024,
        .goal = Goal::excess(3)});
    note("resident with 10000 buffered and an inbox of 1000: " + shown(fullHost.printed(residentKiB).median() / 1024)
        + " MiB");
    return 0;
}
