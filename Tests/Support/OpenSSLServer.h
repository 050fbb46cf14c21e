// A web server over TLS: the `openssl` command (Debian package openssl) as a child process, with certificates made for
// the test.

#pragma once

#include "Platform/Foundation/URL.h"
#include "Tests/Support/Process.h"
#include "Tests/Support/TemporaryFolder.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kova::tests {

/// A folder with a certificate authority that nobody knows; removed with the object.
class TestAuthority {
public:
    TestAuthority();

    /// Whether there is an `openssl` command at all.
    [[nodiscard]] static bool isAvailable();

    /// The authority's own certificate.
    [[nodiscard]] std::filesystem::path certificate() const { return m_folder.path() / "authority.pem"; }

    /// An elliptic curve of 256 bits, or RSA of 1024.
    enum class Key { Strong, Weak };

    /// From the year 2000 to 2049, or only to 2001.
    enum class Validity { Current, Expired };

    /// Makes a key and a certificate with one subject alternative name ("IP:127.0.0.1"). Returns the path of both,
    /// without ".key" and ".pem".
    [[nodiscard]] std::filesystem::path issue(const std::string& name, const std::string& subject,
        Key key = Key::Strong, Validity validity = Validity::Current) const;

    /// The same, signed by its own key.
    [[nodiscard]] std::filesystem::path issueSelfSigned(const std::string& name, const std::string& subject) const;

private:
    TemporaryFolder m_folder;
};

class OpenSSLServer {
public:
    /// Serves with the given certificate; without other options every GET gets a page. See isRunning() for whether it
    /// could.
    explicit OpenSSLServer(const std::filesystem::path& certificate, std::vector<std::string> options = {"-www"});

    [[nodiscard]] bool isRunning() const { return !m_port.empty(); }
    [[nodiscard]] URL url() const;

    /// Returns true if the `openssl` client, which checks no name and no authority, can connect.
    [[nodiscard]] bool acceptsClient() const;

    /// Waits until the server has printed a line that begins so.
    [[nodiscard]] bool waitForLine(std::string_view beginning)
    {
        return m_process.waitForOutputLine(beginning).has_value();
    }

private:
    Process m_process;
    std::string m_port;
};

} // namespace kova::tests
