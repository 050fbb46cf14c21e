// Name servers that never answer, that know nothing, and that are not there.

#include "Platform/Libraries/URLSessionCurl.h"
#include "Tests/Support/HTTPCall.h"
#include "Tests/Support/NameServer.h"
#include "Tests/Support/NetworkNamespace.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>

using namespace std::chrono_literals;

namespace kova::tests {
namespace {

using Clock = std::chrono::steady_clock;

TEST(URLSessionResolverTest, ANameServerThatFailsOrHangsHoldsNobodyUp)
{
    if (!NetworkNamespace::isInside())
        return NetworkNamespace::runThisTestInside();
    const NetworkNamespace network;
    const TemporaryFolder folder;
    const auto configuration = folder.path() / "resolv.conf";
    std::ofstream {configuration} << "nameserver 127.0.0.1\n";
    network.run("mount --bind " + configuration.string() + " /etc/resolv.conf");
    constexpr std::uint16_t domainPort = 53;
    std::optional<NameServer> nameServer {domainPort};

    std::optional<URLSessionCurl> session {std::in_place};
    auto request = makeRequest(URL::create("http://slow.kova.example/").value());
    request.timeoutInterval = 300ms;
    auto begin = Clock::now();
    EXPECT_EQ(fetch(*session, request).error, URLError::timedOut);
    EXPECT_LT(Clock::now() - begin, 2s) << "the resolver's own patience is longer";
    ASSERT_TRUE(nameServer->waitForQuestion(10s));

    request.url = URL::create("http://other.kova.example/").value();
    request.timeoutInterval = 10s;
    HTTPCall call {*session, request};
    call.start();
    while (nameServer->waitForQuestion(10s).value() != "other.kova.example") { }
    begin = Clock::now();
    session->invalidateAndCancel();
    EXPECT_LT(Clock::now() - begin, 500ms) << "the end of the session does not wait for the resolver";
    EXPECT_EQ(call.wait().error, URLError::cancelled);

    session.emplace();
    nameServer->fail();
    EXPECT_EQ(fetch(*session, request).error, URLError::cannotFindHost);
    nameServer.reset();
    EXPECT_EQ(fetch(*session, request).error, URLError::cannotFindHost);
}

} // namespace
} // namespace kova::tests
