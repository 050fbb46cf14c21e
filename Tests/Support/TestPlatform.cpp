#include "Tests/Support/TestPlatform.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

namespace kova::tests {

namespace {

ServiceAddresses addressesWith(std::string metricsURL)
{
    auto addresses = ServiceAddresses::builtIn();
    addresses.metricsBaseURL = std::move(metricsURL);
    return addresses;
}

} // namespace

TestPlatform::TestPlatform(std::string metricsURL)
    : platform({.bundleIdentifier = "example.test",
          .bundleFolder = folder.path() / "bundle",
          .dataFolder = folder.path() / "data",
          .serviceAddresses = addressesWith(std::move(metricsURL))})
{
    OneSignal::setShared(vendor);
}

TestPlatform::~TestPlatform()
{
    OneSignal::setShared(nullptr);
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
