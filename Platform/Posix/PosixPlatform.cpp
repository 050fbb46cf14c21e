#include "Platform/Posix/PosixPlatform.h"

#include "Platform/Foundation/Activity.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/FreedMemory.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Libraries/URLSessionCurl.h"
#include "Platform/Libraries/UserDefaultsSQLite.h"
#include "Platform/Posix/StandardStreams.h"
#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <algorithm>
#include <utility>

namespace kova {

namespace fs = std::filesystem;

bool PosixPlatform::isBundleIdentifier(std::string_view text)
{
    constexpr std::size_t longestFileName = 255;
    return !text.empty() && text.size() <= longestFileName && text.front() != '.'
        && std::ranges::all_of(text, [](char letter) {
               return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z')
                   || (letter >= '0' && letter <= '9') || letter == '.' || letter == '-' || letter == '_';
           });
}

PosixPlatform::PosixPlatform(PosixPlatformOptions options, const System& system)
{
    if (!isBundleIdentifier(options.bundleIdentifier)) {
        fatalError("the platform needs a bundle identifier of letters, digits, \".\", \"-\" and \"_\" (for example "
                   "\"example.shop\"), not \""
            + options.bundleIdentifier + "\"");
    }
    holdStandardStreams();
    unlimitWaitingForStreams();
    setThreadHook(system.threadHook);
    setFreedMemoryHook(system.freedMemoryHook);
    // A sink that is there already is somebody who reads along, a test for example.
    if (const auto sink = setPrintSink(&writeToStandardOutput))
        setPrintSink(sink);
    DispatchQueue::acceptTasks();
    ServiceAddresses::setCurrent(std::move(options.serviceAddresses));

    const auto folder = (options.dataFolder ? *options.dataFolder : system.dataFolder()) / options.bundleIdentifier;
    m_defaults = std::make_shared<UserDefaultsSQLite>(UserDefaultsSQLite::Options {.folder = fs::absolute(folder)});
    UserDefaults::setStandard(m_defaults);
    m_session = std::make_shared<URLSessionCurl>();
    URLSession::setShared(m_session);
    if (!options.reachability) {
        m_reachability = system.makeReachability();
        options.reachability = m_reachability;
    }
    NetworkReachability::setShared(std::move(options.reachability));
    Bundle::setMain(system.makeBundle(options.bundleIdentifier, std::move(options.bundleFolder)));

    if (options.mainLoop == MainLoop::PlatformThread) {
        m_mainLoop = std::jthread {[](const std::stop_token& stop) {
            announceThread("main queue");
            DispatchQueue::runMain(stop);
            // A push that has come is stored, even if nobody waited for it.
            DispatchQueue::drainMainUntil(std::chrono::steady_clock::now() + std::chrono::seconds {1});
        }};
    }
}

PosixPlatform::~PosixPlatform()
{
    end();
}

std::size_t PosixPlatform::end()
{
    if (std::exchange(m_hasEnded, true))
        return m_defaults->close();
    // Else a reader of the log that has stopped would hold up every thread that prints, and with it the end.
    limitWaitingForStreams(std::chrono::steady_clock::now() + std::chrono::seconds {1});
    // The session goes first: its completions may still store something, and whoever waits for one is released. The
    // queues go after all who submit to them. The services stay in their slots, closed, so that a straggling thread of
    // the host finds them cancelled and empty instead of missing.
    m_session->invalidateAndCancel();
    if (m_reachability)
        m_reachability->end();
    if (m_mainLoop.joinable()) {
        m_mainLoop.request_stop();
        m_mainLoop.join();
    }
    DispatchQueue::shutDownAll();
    NotificationCenter::default_().removeAllObservers();
    const auto lost = m_defaults->close();
    ServiceAddresses::setCurrent(ServiceAddresses::builtIn());
    setThreadHook(nullptr);
    setFreedMemoryHook(nullptr);
    return lost;
}

bool PosixPlatform::settle(std::chrono::milliseconds timeout, std::stop_token stop) const
{
    return Activity::waitUntilIdle(std::chrono::steady_clock::now() + timeout, std::move(stop));
}

} // namespace kova
