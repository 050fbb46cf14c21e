#include "Tests/Support/TestPlatform.h"

#include "KovaSDK/Services/Networking/KovaNetwork.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

namespace kova::tests {

namespace {

ServiceAddresses addressesWith(const std::string& baseURL)
{
    auto addresses = ServiceAddresses::builtIn();
    addresses.eventsBaseURL = baseURL;
    addresses.metricsBaseURL = baseURL;
    addresses.geotriggersBaseURL = baseURL;
    return addresses;
}

} // namespace

TestPlatform::TestPlatform(const std::string& baseURL, MainLoop mainLoop)
    : platform({.bundleIdentifier = "example.test",
          .bundleFolder = folder.path() / "bundle",
          .dataFolder = folder.path() / "data",
          .serviceAddresses = addressesWith(baseURL),
          .mainLoop = mainLoop,
          .reachability = network})
{
    OneSignal::setShared(vendor);
    PlotDebug::setShared(geofencing);
}

TestPlatform::TestPlatform(MainLoop mainLoop)
    : TestPlatform(nobody, mainLoop)
{
}

TestPlatform::~TestPlatform()
{
    OneSignal::setShared(nullptr);
    PlotDebug::setShared(nullptr);
    KovaNetwork::setReachability(nullptr);
}

void TestPlatform::addResource(const std::string& name, std::string_view bytes) const
{
    std::filesystem::create_directories(folder.path() / "bundle");
    std::ofstream {folder.path() / "bundle" / name, std::ios::binary | std::ios::trunc} << bytes;
}

std::vector<std::string> TestPlatform::settledLines() const
{
    EXPECT_TRUE(platform.settle(std::chrono::seconds {10}));
    return log.lines();
}

} // namespace kova::tests
