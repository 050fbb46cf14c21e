// kova-host: the reference host application. It links the SDK as any host does and is driven by a script.

#include "Host/Answers.h"
#include "Host/Interruption.h"
#include "Host/Options.h"
#include "Host/ScriptRunner.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/URLSession.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

using namespace kova;
using namespace kova::host;

constexpr int usageStatus = 2;

int fail(const std::string& message)
{
    std::fprintf(stderr, "kova-host: %s\n", message.c_str());
    return usageStatus;
}

ServiceAddresses addresses(const Options& options)
{
    auto addresses = ServiceAddresses::builtIn();
    addresses.eventsBaseURL = options.eventsURL.value_or(addresses.eventsBaseURL);
    addresses.metricsBaseURL = options.metricsURL.value_or(addresses.metricsBaseURL);
    addresses.geotriggersBaseURL = options.geotriggersURL.value_or(addresses.geotriggersBaseURL);
    return addresses;
}

int run(const Options& options, const Interruption& interruption)
{
    // Opening a pipe without a writer must not hang: the reader waits for it, and for the end.
    const int script
        = options.script == "-" ? dup(STDIN_FILENO) : open(options.script.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (script < 0)
        return fail("cannot read " + options.script + ": " + std::strerror(errno));
    Answers answers {options.answers};

    const auto network = options.network == "simulated" ? std::make_shared<SimulatedNetwork>() : nullptr;
    LinuxPlatform platform {{
        .bundleIdentifier = "kova-host",
        .bundleFolder = options.bundle,
        .dataFolder = options.data,
        .serviceAddresses = addresses(options),
        .mainLoop = MainLoop::Host,
        .reachability = network,
    }};
    const auto vendor = std::make_shared<SimulatedOneSignal>();
    OneSignal::setShared(vendor);
    const auto geofencing = std::make_shared<SimulatedPlotProjects>();
    PlotDebug::setShared(geofencing);
    // Whatever waits for a reply is released at once, and keeps what it could not send.
    const std::stop_callback cancelRequests {interruption.token(), [] { URLSession::shared()->invalidateAndCancel(); }};

    // The script has a thread of its own; this one runs the main queue until the script has ended.
    HostWindow window;
    HostContext context {platform, *vendor, *geofencing, window, network.get(), answers, interruption.token()};
    LineReader lines {script, interruption.descriptor()};
    std::stop_source ended;
    auto outcome = ScriptOutcome::Done;
    std::jthread scriptThread {[&] {
        announceThread("script");
        outcome = runScript(options.script, lines, context);
        ended.request_stop();
    }};
    DispatchQueue::runMain(ended.get_token());
    scriptThread.join();
    close(script);
    return static_cast<int>(outcome);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    // Before anything else, so that no signal finds the process unprepared.
    const Interruption interruption;
    try {
        const auto options = Options::parse(argumentCount, arguments);
        if (options.wantsHelp) {
            std::fputs(helpText().c_str(), stdout);
            return 0;
        }
        return run(options, interruption);
    } catch (const std::exception& failure) {
        return fail(failure.what());
    }
}
