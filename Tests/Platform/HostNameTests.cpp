// Host names as the platform's own reachability service takes them.

#include "Platform/Platform.h"
#include "Platform/SystemConfiguration/NetworkReachability.h"
#include "Tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace kova::tests {
namespace {

TEST(HostNameTest, MakesTargetsOnlyForHostNames)
{
    const std::string longLabel(63, 'a');
    const auto longName = longLabel + "." + longLabel + "." + longLabel + "." + std::string(61, 'a');
    ASSERT_EQ(longName.size(), 253U);
    const std::vector<std::pair<std::string, bool>> cases {{"www.kova.example", true}, {"www.kova.example.", true},
        {"localhost", true}, {"a_b.C-1.example", true}, {"192.0.2.7", true}, {"2001:db8::7", true}, {"::1", true},
        {longLabel + ".example", true}, {longName, true}, {"", false}, {".", false}, {".example", false},
        {"www..example", false}, {"www.example..", false}, {"-www.example", false}, {"www-.example", false},
        {"www.example-", false}, {"www example", false}, {"www.ex\xc3\xa4mple", false}, {"www/example", false},
        {"https://www.example", false}, {"www.example:80", false}, {"fe80::1%eth0", false}, {"[::1]", false},
        {std::string {"www\0.example", 12}, false}, {std::string {"::1\0", 4}, false}, {longLabel + "a.example", false},
        {longName + "a", false}};
    const TemporaryFolder folder;
    const DevicePlatform platform {{.bundleIdentifier = "names.test", .dataFolder = folder.path()}};
    const auto service = NetworkReachability::shared();
    for (const auto& [name, isHostName] : cases)
        EXPECT_EQ(service->createWithName(name) != nullptr, isHostName) << testing::PrintToString(name);
}

} // namespace
} // namespace kova::tests
