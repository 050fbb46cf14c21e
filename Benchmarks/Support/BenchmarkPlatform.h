// A platform for one benchmark: a fresh folder with a configuration, a network that is as the benchmark says, and a log
// that is written to nowhere, one system call a line as ever.

#pragma once

#include "Platform/Foundation/Data.h"
#include "Platform/Platform.h"
#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kova::benchmarks {

/// A folder that goes with the object.
class BenchmarkFolder {
public:
    BenchmarkFolder();
    ~BenchmarkFolder();
    BenchmarkFolder(const BenchmarkFolder&) = delete;
    BenchmarkFolder& operator=(const BenchmarkFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    /// The host's configuration, which is in the folder.
    [[nodiscard]] std::filesystem::path configuration() const { return m_path / "Kova.plist"; }

private:
    std::filesystem::path m_path;
};

class BenchmarkPlatform {
public:
    /// Its network always gives these flags at once, so that they cost nothing.
    BenchmarkPlatform(SCNetworkReachabilityFlags flags, const std::string& eventsBaseURL,
        MainLoop mainLoop = MainLoop::PlatformThread);
    ~BenchmarkPlatform();
    BenchmarkPlatform(const BenchmarkPlatform&) = delete;
    BenchmarkPlatform& operator=(const BenchmarkPlatform&) = delete;

    [[nodiscard]] const BenchmarkFolder& folder() const { return m_folder; }
    [[nodiscard]] const DevicePlatform& platform() const { return *m_platform; }

    /// Ends the platform before its folder goes.
    void shutDown() { m_platform.reset(); }

    /// One bare read and parse of the configuration.
    void readConfiguration() const;
    /// One bare line of log.
    static void writeLog(std::string_view line);

private:
    const BenchmarkFolder m_folder;
    std::optional<DevicePlatform> m_platform;
};

} // namespace kova::benchmarks
