// Whom the session trusts.

#include "Platform/Libraries/URLSessionCurl.h"
#include "Tests/Support/HTTPCall.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/OpenSSLServer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

using namespace std::string_literals;

namespace kova::tests {
namespace {

class URLSessionTlsTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!TestAuthority::isAvailable())
            GTEST_SKIP() << "needs the command openssl (package openssl)";
        authority.emplace();
        session.emplace(URLSessionCurl::Options {.additionalCertificates = authority->certificate()});
    }

    std::optional<TestAuthority> authority;
    std::optional<URLSessionCurl> session;
};

TEST_F(URLSessionTlsTest, TrustsCertificatesOfKnownAuthoritiesForTheirHostAndTime)
{
    const auto failed = summary(URLError::secureConnectionFailed);
    const std::tuple<const char*, std::filesystem::path, std::string> rows[] = {
        {"good", authority->issue("good", "IP:127.0.0.1"), "200 "},
        {"other host", authority->issue("host", "DNS:events.kova.example"), failed},
        {"expired",
            authority->issue("expired", "IP:127.0.0.1", TestAuthority::Key::Strong, TestAuthority::Validity::Expired),
            failed},
        {"self-signed", authority->issueSelfSigned("self", "IP:127.0.0.1"), failed},
    };
    for (const auto& [name, certificate, outcome] : rows) {
        OpenSSLServer server {certificate};
        ASSERT_TRUE(server.isRunning()) << name;
        EXPECT_EQ(fetch(*session, makeRequest(server.url())).summary().substr(0, outcome.size()), outcome) << name;
        URLSessionCurl stranger;
        EXPECT_EQ(fetch(stranger, makeRequest(server.url())).summary(), failed) << name;
    }
    const OpenSSLServer outdated {std::get<1>(rows[0]), {"-www", "-tls1_1"}};
    ASSERT_TRUE(outdated.isRunning());
    EXPECT_EQ(fetch(*session, makeRequest(outdated.url())).summary(), failed) << "no handshake with an old protocol";
}

// The TLS library reads its configuration once, so the test runs in a process of its own that was started with it.
TEST_F(URLSessionTlsTest, AsksForMoreThanALaxConfiguration)
{
    constexpr auto insideVariable = "KOVA_TEST_LAX_CONFIGURATION";
    if (!std::getenv(insideVariable)) {
        const TemporaryFolder folder;
        const auto file = folder.path() / "lax.cnf";
        // The command openssl makes its certificates by this, too.
        std::ofstream {file} << R"(openssl_conf = lax
[lax]
ssl_conf = ssl
[ssl]
system_default = defaults
[defaults]
MinProtocol = TLSv1
CipherString = ALL:@SECLEVEL=0
[req]
distinguished_name = name
x509_extensions = authority
[name]
[authority]
basicConstraints = critical,CA:true
)";
        Process inside {{.executable = "/usr/bin/env",
            .arguments
            = {"OPENSSL_CONF=" + file.string(), insideVariable + "=1"s, std::filesystem::read_symlink("/proc/self/exe"),
                "--gtest_filter=URLSessionTlsTest.AsksForMoreThanALaxConfiguration"}}};
        EXPECT_EQ(inside.wait(), ProcessEnd {.exitStatus = 0}) << inside.standardOutput() << inside.standardError();
        EXPECT_NE(inside.standardOutput().find("[  PASSED  ] 1 test"), std::string::npos);
        return;
    }
    const auto failed = summary(URLError::secureConnectionFailed);
    const auto strong = authority->issue("strong", "IP:127.0.0.1");
    const auto weak = authority->issue("weak", "IP:127.0.0.1", TestAuthority::Key::Weak);
    const std::tuple<const char*, std::filesystem::path, std::string> rows[] = {
        {"-tls1", strong, failed},
        {"-tls1_1", strong, failed},
        {"-tls1_2", strong, "200 "},
        {"-tls1_3", strong, "200 "},
        {"-tls1_2", weak, failed},
        {"-tls1_3", weak, failed},
    };
    for (const auto& [protocol, certificate, outcome] : rows) {
        const OpenSSLServer server {certificate, {"-www", protocol}};
        ASSERT_TRUE(server.isRunning()) << protocol;
        EXPECT_EQ(fetch(*session, makeRequest(server.url())).summary().substr(0, outcome.size()), outcome)
            << protocol << " " << certificate;
        // A client that goes by the configuration alone is content with all of them.
        EXPECT_TRUE(server.acceptsClient()) << protocol << " " << certificate;
    }
}

TEST_F(URLSessionTlsTest, FollowsARedirectToWhereItIsTrusted)
{
    const auto good = authority->issue("good", "IP:127.0.0.1");
    const auto stranger = authority->issueSelfSigned("self", "IP:127.0.0.1");
    for (const auto& [certificate, outcome] :
        {std::pair {good, "200 "s}, std::pair {stranger, summary(URLError::secureConnectionFailed)}}) {
        const OpenSSLServer secure {certificate};
        ASSERT_TRUE(secure.isRunning());
        LoopbackServer plain;
        plain.setDefault(Reply::status(301, "", {{"Location", secure.url().absoluteString()}}));
        EXPECT_EQ(fetch(*session, makeRequest(plain.url())).summary().substr(0, outcome.size()), outcome);
        EXPECT_EQ(plain.requests().size(), 1U);
    }
}

TEST_F(URLSessionTlsTest, OffersHTTP2)
{
    // After one connection the server ends, and only then prints what it had to say.
    OpenSSLServer server {authority->issue("good", "IP:127.0.0.1"), {"-www", "-alpn", "http/1.1", "-naccept", "1"}};
    ASSERT_TRUE(server.isRunning());
    EXPECT_FALSE(fetch(*session, makeRequest(server.url())).error);
    EXPECT_TRUE(server.waitForLine("ALPN protocols advertised by the client: h2, http/1.1"));
}

TEST_F(URLSessionTlsTest, TrustsNobodyWhenTheAdditionalCertificatesCannotBeRead)
{
    OpenSSLServer server {authority->issue("good", "IP:127.0.0.1")};
    ASSERT_TRUE(server.isRunning());
    URLSessionCurl misled {{.additionalCertificates = "/nonexistent/authority.pem"}};
    EXPECT_EQ(fetch(misled, makeRequest(server.url())).summary(), summary(URLError::secureConnectionFailed));
}

} // namespace
} // namespace kova::tests
