// The platform object of POSIX systems: installs the services that the SDK stands on, and ends them in order.
//
// A system's own object, LinuxPlatform for example, derives from it and brings what differs. When it goes, requests in
// flight complete as cancelled, its main-queue thread runs what waits there, for a second at most, other tasks that
// have not begun are dropped, threads are joined, everything stored is brought to the disk. Log lines that standard
// output does not take within a second are dropped. Nothing of the SDK runs after that. A host that runs the main queue
// itself drains it before. Threads: made, used and destroyed by one thread, in the host's main; one object at a time.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/FreedMemory.h"
#include "Platform/Foundation/ServiceAddresses.h"
#include "Platform/Foundation/ThreadHook.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>

namespace kova {

class Bundle;
class NetworkReachability;
class UserDefaultsSQLite;
class URLSession;

/// Who runs the main queue, on which the SDK and the vendors deliver changes.
enum class MainLoop {
    /// A thread that the platform object owns: for a console host without a loop of its own.
    PlatformThread,
    /// The host, with DispatchQueue::runMain() or drainMain(), or a toolkit's loop.
    Host,
};

struct KOVA_EXPORT PosixPlatformOptions {
    /// Names the application and its folder: letters, digits, ".", "-" and "_", not beginning with "." and at most 255
    /// bytes. Anything else stops the process.
    std::string bundleIdentifier;
    /// The folder of the host's resources, "Kova.plist" among them; when there is none, the place that the system's
    /// object names: "Resources" beside the executable on Linux.
    std::optional<std::filesystem::path> bundleFolder {};
    /// Where applications keep their data; when there is none, the system's folder for that: $XDG_DATA_HOME or
    /// ~/.local/share on Linux. The store lives in its subfolder <bundle identifier>, which only the owner can enter.
    std::optional<std::filesystem::path> dataFolder {};
    /// Where the web services live: a development host may point them elsewhere.
    ServiceAddresses serviceAddresses = ServiceAddresses::builtIn();
    MainLoop mainLoop = MainLoop::PlatformThread;
    /// The reachability service of a host that brings its own, and ends it itself; the system's when there is none.
    std::shared_ptr<NetworkReachability> reachability {};
};

class KOVA_EXPORT PosixPlatform {
public:
    PosixPlatform(const PosixPlatform&) = delete;
    PosixPlatform& operator=(const PosixPlatform&) = delete;

    /// Returns true if PosixPlatformOptions::bundleIdentifier may be this text.
    [[nodiscard]] static bool isBundleIdentifier(std::string_view text);

    /// Waits until every HTTP task has completed and every queue is idle. False when that takes longer than `timeout`,
    /// or a stop is requested. With MainLoop::Host another thread must be running the main queue.
    [[nodiscard]] bool settle(std::chrono::milliseconds timeout, std::stop_token stop = {}) const;

    /// Does what the destructor does, and returns how many changes of the user defaults (pushes, events, rows read or
    /// deleted) could not be stored and are lost. A repeated call returns the same.
    std::size_t end();

protected:
    /// The parts that differ from system to system.
    struct System {
        ThreadHook threadHook;
        FreedMemoryHook freedMemoryHook;
        /// Where applications keep their data.
        std::filesystem::path (*dataFolder)();
        std::shared_ptr<Bundle> (*makeBundle)(std::string identifier, std::optional<std::filesystem::path> folder);
        std::shared_ptr<NetworkReachability> (*makeReachability)();
    };

    PosixPlatform(PosixPlatformOptions options, const System& system);
    ~PosixPlatform();

private:
    std::shared_ptr<UserDefaultsSQLite> m_defaults;
    std::shared_ptr<URLSession> m_session;
    /// Null if the host has brought its own.
    std::shared_ptr<NetworkReachability> m_reachability;
    std::jthread m_mainLoop;
    bool m_hasEnded = false;
};

} // namespace kova
