#include "Tests/Support/OpenSSLServer.h"

#include <fstream>
#include <stdexcept>

namespace kova::tests {

namespace {

constexpr auto program = "/usr/bin/openssl";
constexpr std::string_view announcement = "ACCEPT 127.0.0.1:";

void run(std::vector<std::string> arguments)
{
    Process process {{.executable = program, .arguments = std::move(arguments)}};
    if (process.wait() != ProcessEnd {.exitStatus = 0})
        throw std::runtime_error {"openssl failed: " + process.standardError()};
}

/// Makes a key, and what is asked for with the further arguments.
void runWithNewKey(const std::filesystem::path& path, const std::string& subject, std::vector<std::string> arguments,
    TestAuthority::Key key = TestAuthority::Key::Strong)
{
    arguments.insert(arguments.begin(),
        {"req", "-nodes", "-batch", "-subj", "/CN=kova test", "-keyout", path.string() + ".key", "-addext",
            "subjectAltName=" + subject});
    if (key == TestAuthority::Key::Strong)
        arguments.insert(arguments.end(), {"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256"});
    else
        arguments.insert(arguments.end(), {"-newkey", "rsa:1024"});
    run(std::move(arguments));
}

} // namespace

TestAuthority::TestAuthority()
{
    (void)issueSelfSigned("authority", "DNS:authority.invalid");
    const auto folder = m_folder.path().string();
    std::ofstream {m_folder.path() / "ca.conf"}
        << "[ca]\ndefault_ca = authority\n[authority]\ndatabase = " << folder << "/database\nnew_certs_dir = " << folder
        << "\ncertificate = " << folder << "/authority.pem\nprivate_key = " << folder << R"(/authority.key
copy_extensions = copy
default_md = sha256
policy = policy
rand_serial = yes
unique_subject = no
[policy]
commonName = supplied
)";
    std::ofstream {m_folder.path() / "database"};
}

bool TestAuthority::isAvailable()
{
    return std::filesystem::exists(program);
}

std::filesystem::path TestAuthority::issue(
    const std::string& name, const std::string& subject, Key key, Validity validity) const
{
    const auto path = m_folder.path() / name;
    const auto request = path.string() + ".csr";
    runWithNewKey(path, subject, {"-out", request}, key);
    // The command x509 takes no dates before OpenSSL 3.4, and no negative number of days after it.
    run({"ca", "-batch", "-config", (m_folder.path() / "ca.conf").string(), "-in", request, "-notext", "-out",
        path.string() + ".pem", "-startdate", "20000101000000Z", "-enddate",
        validity == Validity::Current ? "20491231000000Z" : "20010101000000Z"});
    return path;
}

std::filesystem::path TestAuthority::issueSelfSigned(const std::string& name, const std::string& subject) const
{
    const auto path = m_folder.path() / name;
    runWithNewKey(path, subject, {"-x509", "-days", "2", "-out", path.string() + ".pem"});
    return path;
}

OpenSSLServer::OpenSSLServer(const std::filesystem::path& certificate, std::vector<std::string> options)
    : m_process([&] {
        options.insert(options.begin(),
            {"s_server", "-accept", "127.0.0.1:0", "-cert", certificate.string() + ".pem", "-key",
                certificate.string() + ".key"});
        return Process::Options {.executable = program, .arguments = std::move(options)};
    }())
{
    if (const auto line = m_process.waitForOutputLine(announcement))
        m_port = line->substr(announcement.size());
}

bool OpenSSLServer::acceptsClient() const
{
    Process client {{.executable = program, .arguments = {"s_client", "-brief", "-connect", "127.0.0.1:" + m_port}}};
    client.closeInput();
    return client.wait() == ProcessEnd {.exitStatus = 0};
}

URL OpenSSLServer::url() const
{
    return URL::create("https://127.0.0.1:" + m_port + "/").value();
}

} // namespace kova::tests
