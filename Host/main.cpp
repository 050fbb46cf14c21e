// kova-host: the reference host application. It links the SDK as any host does and is driven by a script.

#include "Host/Answers.h"
#include "Host/Doctor/Doctor.h"
#include "Host/HeadlessWindow.h"
#include "Host/HelpText.h"
#include "Host/Interruption.h"
#include "Host/LogTee.h"
#include "Host/Options.h"
#include "Host/Progress.h"
#include "Host/ScriptRunner.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/URLSession.h"
#include "Platform/Posix/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>

namespace {

using namespace kova;
using namespace kova::host;

constexpr int unwrittenStatus = 1;
constexpr int usageStatus = 2;
constexpr int lossStatus = 4;

int fail(const std::string& message, int status = usageStatus)
{
    complain("kova-host: " + message);
    return status;
}

// Opens the script; -1 when there is none. Opening a pipe without a writer must not hang: the reader waits for it, and
// for the end. Throws std::system_error.
int openScript(const Options& options)
{
    if (!options.script && options.window)
        return -1;
    const auto name = options.script.value_or("-");
    const int script = name == "-" ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (script < 0)
        throw std::system_error {errno, std::generic_category(), "cannot read " + name};
    return script;
}

// Throws std::system_error.
void prepareFolders(const Options& options)
{
    std::error_code failure;
    if (options.screenshots)
        std::filesystem::create_directories(*options.screenshots, failure);
    if (failure)
        throw std::system_error {failure, "cannot make the folder " + options.screenshots->string()};
    if (const std::filesystem::directory_iterator payloads {options.payloads, failure};
        !options.payloads.empty() && failure)
        throw std::system_error {failure, "cannot read the folder " + options.payloads.string()};
}

// Whether all that was asked for has reached standard output; a full disk shows at the latest here.
bool isWritten()
{
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

// The shop's buttons run their script lines here, since some of them wait for the main queue.
class ShopKeeper {
public:
    explicit ShopKeeper(HostContext& context)
        : m_context(context)
        , m_log([this](const auto& lines) { m_context.window.screen().showLog(lines); })
    {
        context.window.screen().setPerformer([this](std::string line) { perform(std::move(line)); });
    }
    ~ShopKeeper()
    {
        m_context.window.screen().setPerformer({});
        // What a button began may be waiting for the main queue, which nobody runs any more.
        DispatchQueue::shutDownAll();
    }
    ShopKeeper(const ShopKeeper&) = delete;
    ShopKeeper& operator=(const ShopKeeper&) = delete;

    void perform(std::string line)
    {
        m_queue->async([this, line = std::move(line)] {
            try {
                runLine(line, m_context);
            } catch (const std::exception& failure) {
                print(singleLine(failure.what()));
            }
        });
    }

private:
    HostContext& m_context;
    LogTee m_log;
    std::shared_ptr<DispatchQueue> m_queue = DispatchQueue::create("shop");
};

ScriptOutcome play(const Options& options, const Interruption& interruption, int script, Answers& answers,
    DevicePlatform& platform, SimulatedNetwork* network)
{
    const auto vendor = std::make_shared<SimulatedOneSignal>();
    OneSignal::setShared(vendor);
    const auto geofencing = std::make_shared<SimulatedPlotProjects>();
    PlotDebug::setShared(geofencing);
    // Whatever waits for a reply is released at once, and keeps what it could not send; whatever waits for a reader of
    // the output, soon.
    const std::stop_callback cancelRequests {
        interruption.token(), [] {
            limitWaitingForStreams(std::chrono::steady_clock::now() + std::chrono::milliseconds {200});
            URLSession::shared()->invalidateAndCancel();
        }};

    const auto screen = std::make_shared<HostScreen>(options.payloads);
    const auto window = options.window ? openDrawnWindow(screen, options.screenshots.has_value())
                                       : std::make_unique<HeadlessWindow>(screen);
    HostContext context {platform, *vendor, *geofencing, *window, network, answers, interruption.token(),
        options.screenshots, options.pauseSeconds};
    std::optional<ShopKeeper> shop;
    if (options.window)
        shop.emplace(context);

    // The script has a thread of its own; this one runs the main queue. A window that shows no script, or has shown it,
    // stays until it is closed, but not if it was only there for its pictures.
    std::stop_source windowEnds;
    std::stop_source scriptEnded;
    auto outcome = ScriptOutcome::Done;
    std::jthread scriptThread;
    if (script >= 0) {
        scriptThread = std::jthread {[&] {
            announceThread("script");
            LineReader lines {script, interruption.descriptor()};
            outcome = runScript(options.script.value_or("-"), lines, context);
            scriptEnded.request_stop();
            if (!options.window || options.screenshots || outcome != ScriptOutcome::Done)
                windowEnds.request_stop();
            else
                DispatchQueue::main().async([screen] { screen->keepBadges(); });
        }};
    } else {
        scriptEnded.request_stop();
        screen->keepBadges();
        shop->perform(R"({"do":"start"})");
        shop->perform(R"({"do":"geo-start"})");
    }
    const std::stop_callback closeWindow {interruption.token(), [&] {
                                              if (options.window)
                                                  windowEnds.request_stop();
                                          }};
    try {
        window->run(windowEnds.get_token());
        // A script whose window was closed goes on to its end.
        DispatchQueue::runMain(scriptEnded.get_token());
        DispatchQueue::drainMainUntil(std::chrono::steady_clock::now() + std::chrono::seconds {1});
    } catch (...) {
        // The script may be waiting for the main queue, which nobody runs any more.
        DispatchQueue::shutDownAll();
        throw;
    }
    if (scriptThread.joinable())
        scriptThread.join();
    return outcome;
}

int run(const Options& options, const Interruption& interruption)
{
    const int script = openScript(options);
    Answers answers {options.answers};
    prepareFolders(options);

    const auto network = options.network == "simulated" ? std::make_shared<SimulatedNetwork>() : nullptr;
    // Opening waits for another process that holds the store's lock.
    std::optional<Progress> opening {std::in_place, "opening the store"};
    DevicePlatform platform {{
        .bundleIdentifier = "kova-host",
        .bundleFolder = options.bundle,
        .dataFolder = options.data,
        .serviceAddresses = options.serviceAddresses(),
        .mainLoop = MainLoop::Host,
        .reachability = network,
    }};
    opening.reset();
    const auto outcome = play(options, interruption, script, answers, platform, network.get());
    if (script >= 0)
        close(script);
    const auto lost = platform.end();
    return outcome == ScriptOutcome::Done && lost > 0 ? lossStatus : static_cast<int>(outcome);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    // Before anything else: nothing is opened in a closed stream's place, and no signal finds the process unprepared.
    holdStandardStreams();
    const Interruption interruption;
    try {
        const auto options = Options::parse(argumentCount, arguments);
        if (!options.wantsHelp && !options.doctor)
            return run(options, interruption);
        int status = 0;
        if (options.wantsHelp)
            std::fputs(helpText().c_str(), stdout);
        else
            status = runDoctor(options, interruption.token());
        return isWritten() ? status : fail("not all could be written to standard output", unwrittenStatus);
    } catch (const std::exception& failure) {
        return fail(failure.what());
    }
}
