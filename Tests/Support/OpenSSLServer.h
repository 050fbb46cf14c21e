// A web server over TLS: the `openssl` command (Debian package openssl) as a child process, with certificates made for
// the test.

#pragma once

#include "Platform/Foundation/URL.h"

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kova::tests {

/// A folder with a certificate authority that nobody knows; removed with the object.
class TestAuthority {
public:
    TestAuthority();
    ~TestAuthority();
    TestAuthority(const TestAuthority&) = delete;
    TestAuthority& operator=(const TestAuthority&) = delete;

    /// Whether there is an `openssl` command at all.
    [[nodiscard]] static bool isAvailable();

    /// The authority's own certificate.
    [[nodiscard]] std::filesystem::path certificate() const { return m_folder / "authority.pem"; }

    /// Makes a key and a certificate with one subject alternative name ("IP:127.0.0.1") that is valid from now on for
    /// so many days. Returns the path of both, without ".key" and ".pem".
    [[nodiscard]] std::filesystem::path issue(const std::string& name, const std::string& subject, int days) const;

    /// The same, signed by its own key.
    [[nodiscard]] std::filesystem::path issueSelfSigned(const std::string& name, const std::string& subject) const;

private:
    std::filesystem::path m_folder;
};

class OpenSSLServer {
public:
    /// Serves with the given certificate; without other options every GET gets a page. See isRunning() for whether it
    /// could.
    explicit OpenSSLServer(const std::filesystem::path& certificate, std::vector<std::string> options = {"-www"});
    ~OpenSSLServer();
    OpenSSLServer(const OpenSSLServer&) = delete;
    OpenSSLServer& operator=(const OpenSSLServer&) = delete;

    [[nodiscard]] bool isRunning() const { return !m_port.empty(); }
    [[nodiscard]] URL url(std::string_view host = "127.0.0.1") const;

    /// Reads what the server prints until it has said `text`, ten seconds at most.
    [[nodiscard]] bool waitForOutput(std::string_view text);

private:
    pid_t m_process = -1;
    int m_output = -1;
    std::string m_printed;
    std::string m_port;
};

} // namespace kova::tests
