// A platform for one test: a fresh folder, the log captured, and vendors that record.

#pragma once

#include "Platform/Platform.h"
#include "Tests/Support/FakeNetwork.h"
#include "Tests/Support/PrintCapture.h"
#include "Tests/Support/RecordingOneSignal.h"
#include "Tests/Support/RecordingPlotProjects.h"
#include "Tests/Support/TemporaryFolder.h"

#include <memory>
#include <string_view>

namespace kova::tests {

class TestPlatform {
public:
    static constexpr const char* nobody = "http://127.0.0.1:9/v2/";

    /// Events, metrics and geotriggers go to this base URL, where by default nobody listens. The network is offline at
    /// first.
    explicit TestPlatform(const std::string& baseURL = nobody, MainLoop mainLoop = MainLoop::PlatformThread);
    /// For what happens on the main thread: the test runs the main queue itself.
    explicit TestPlatform(MainLoop mainLoop);
    ~TestPlatform();
    TestPlatform(const TestPlatform&) = delete;
    TestPlatform& operator=(const TestPlatform&) = delete;

    /// Puts a file into the host's bundle.
    void addResource(const std::string& name, std::string_view bytes) const;

    /// The log lines once everything is quiet; waits ten seconds at most.
    [[nodiscard]] std::vector<std::string> settledLines() const;

    TemporaryFolder folder;
    PrintCapture log;
    std::shared_ptr<RecordingOneSignal> vendor = std::make_shared<RecordingOneSignal>();
    std::shared_ptr<RecordingPlotProjects> geofencing = std::make_shared<RecordingPlotProjects>();
    std::shared_ptr<FakeNetwork> network = std::make_shared<FakeNetwork>();
    DevicePlatform platform;
};

} // namespace kova::tests
