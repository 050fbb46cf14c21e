#include "Platform/Linux/LinuxPlatform.h"

#include "Platform/Foundation/Activity.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/FreedMemory.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Libraries/URLSessionCurl.h"
#include "Platform/Libraries/UserDefaultsSQLite.h"
#include "Platform/Linux/BundleLinux.h"
#include "Platform/Linux/NetworkReachabilityLinux.h"
#include "Platform/Linux/ThreadLinux.h"
#include "Platform/Posix/StandardStreams.h"

#include <malloc.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace kova {

namespace fs = std::filesystem;

namespace {

fs::path userDataFolder()
{
    // The base directory convention says that a relative path is to be ignored.
    if (const auto* dataHome = std::getenv("XDG_DATA_HOME"); dataHome && fs::path {dataHome}.is_absolute())
        return dataHome;
    if (const auto* home = std::getenv("HOME"); home && fs::path {home}.is_absolute())
        return fs::path {home} / ".local" / "share";
    const auto* user = getpwuid(geteuid());
    return fs::path {user ? user->pw_dir : "/"} / ".local" / "share";
}

// After one large block has been freed, glibc's allocator keeps as much as that for each of its heaps.
void trimHeaps()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

} // namespace

bool LinuxPlatform::isBundleIdentifier(std::string_view text)
{
    constexpr std::size_t longestFileName = 255;
    return !text.empty() && text.size() <= longestFileName && text.front() != '.'
        && std::ranges::all_of(text, [](char letter) {
               return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z')
                   || (letter >= '0' && letter <= '9') || letter == '.' || letter == '-' || letter == '_';
           });
}

LinuxPlatform::LinuxPlatform(LinuxPlatformOptions options)
{
    if (!isBundleIdentifier(options.bundleIdentifier)) {
        fatalError("LinuxPlatform needs a bundle identifier of letters, digits, \".\", \"-\" and \"_\" (for example "
                   "\"example.shop\"), not \""
            + options.bundleIdentifier + "\"");
    }
    holdStandardStreams();
    unlimitWaitingForStreams();
    setThreadHook(&prepareThreadOnLinux);
    setFreedMemoryHook(&trimHeaps);
    // A sink that is there already is somebody who reads along, a test for example.
    if (const auto sink = setPrintSink(&writeToStandardOutput))
        setPrintSink(sink);
    DispatchQueue::acceptTasks();
    ServiceAddresses::setCurrent(std::move(options.serviceAddresses));

    const auto folder = (options.dataFolder ? *options.dataFolder : userDataFolder()) / options.bundleIdentifier;
    m_defaults = std::make_shared<UserDefaultsSQLite>(UserDefaultsSQLite::Options {.folder = fs::absolute(folder)});
    UserDefaults::setStandard(m_defaults);
    m_session = std::make_shared<URLSessionCurl>();
    URLSession::setShared(m_session);
    if (!options.reachability) {
        m_reachability = std::make_shared<NetworkReachabilityLinux>();
        options.reachability = m_reachability;
    }
    NetworkReachability::setShared(std::move(options.reachability));
    Bundle::setMain(std::make_shared<BundleLinux>(options.bundleIdentifier, std::move(options.bundleFolder)));

    if (options.mainLoop == MainLoop::PlatformThread) {
        m_mainLoop = std::jthread {[](const std::stop_token& stop) {
            announceThread("main queue");
            DispatchQueue::runMain(stop);
            // A push that has come is stored, even if nobody waited for it.
            DispatchQueue::drainMainUntil(std::chrono::steady_clock::now() + std::chrono::seconds {1});
        }};
    }
}

LinuxPlatform::~LinuxPlatform()
{
    end();
}

std::size_t LinuxPlatform::end()
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

bool LinuxPlatform::settle(std::chrono::milliseconds timeout, std::stop_token stop) const
{
    return Activity::waitUntilIdle(std::chrono::steady_clock::now() + timeout, std::move(stop));
}

} // namespace kova
