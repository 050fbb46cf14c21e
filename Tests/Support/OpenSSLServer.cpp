#include "Tests/Support/OpenSSLServer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <system_error>

namespace kova::tests {

namespace {

/// Starts `openssl` with these arguments; standard output goes to the descriptor, or nowhere.
pid_t spawnOpenSSL(std::vector<std::string> arguments, int output = -1)
{
    arguments.insert(arguments.begin(), "openssl");
    std::vector<char*> pointers;
    for (auto& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    if (output >= 0)
        ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    else
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = -1;
    const auto result = ::posix_spawnp(&process, "openssl", &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    return result == 0 ? process : -1;
}

bool runOpenSSL(std::vector<std::string> arguments)
{
    const auto process = spawnOpenSSL(std::move(arguments));
    int status = -1;
    return process > 0 && ::waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void mustRun(std::vector<std::string> arguments)
{
    const auto command = arguments.front();
    if (!runOpenSSL(std::move(arguments)))
        throw std::runtime_error {"openssl " + command + " failed"};
}

std::vector<std::string> newKey(const std::filesystem::path& path)
{
    return {"req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-batch", "-subj", "/CN=kova test",
        "-keyout", path.string() + ".key"};
}

std::vector<std::string> operator+(std::vector<std::string> left, std::vector<std::string> right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

} // namespace

TestAuthority::TestAuthority()
{
    auto pattern = (std::filesystem::temp_directory_path() / "kova-tls-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        throw std::system_error {errno, std::system_category(), pattern};
    m_folder = pattern;
    (void)issueSelfSigned("authority", "DNS:authority.invalid");
}

TestAuthority::~TestAuthority()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

bool TestAuthority::isAvailable()
{
    return runOpenSSL({"version"});
}

std::filesystem::path TestAuthority::issue(const std::string& name, const std::string& subject, int days) const
{
    const auto path = m_folder / name;
    const auto request = path.string() + ".csr";
    mustRun(newKey(path) + std::vector<std::string> {"-out", request, "-addext", "subjectAltName=" + subject});
    mustRun(
        {"x509", "-req", "-in", request, "-CA", certificate().string(), "-CAkey", (m_folder / "authority.key").string(),
            "-copy_extensions", "copy", "-days", std::to_string(days), "-out", path.string() + ".pem"});
    return path;
}

std::filesystem::path TestAuthority::issueSelfSigned(const std::string& name, const std::string& subject) const
{
    const auto path = m_folder / name;
    mustRun(newKey(path)
        + std::vector<std::string> {
            "-x509", "-days", "2", "-addext", "subjectAltName=" + subject, "-out", path.string() + ".pem"});
    return path;
}

OpenSSLServer::OpenSSLServer(const std::filesystem::path& certificate, std::vector<std::string> options)
{
    std::array<int, 2> pipe {-1, -1};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0)
        throw std::system_error {errno, std::system_category(), "pipe"};
    m_output = pipe[0];
    m_process = spawnOpenSSL(std::vector<std::string> {"s_server", "-accept", "127.0.0.1:0", "-cert",
                                 certificate.string() + ".pem", "-key", certificate.string() + ".key"}
            + std::move(options),
        pipe[1]);
    ::close(pipe[1]);
    const std::string announcement = "\nACCEPT 127.0.0.1:";
    m_printed = "\n";
    if (m_process > 0 && waitForOutput(announcement)) {
        m_printed.erase(0, m_printed.find(announcement) + announcement.size());
        if (waitForOutput("\n"))
            m_port = m_printed.substr(0, m_printed.find('\n'));
    }
}

OpenSSLServer::~OpenSSLServer()
{
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }
    ::close(m_output);
}

URL OpenSSLServer::url(std::string_view host) const
{
    return URL::create("https://" + std::string {host} + ":" + m_port + "/").value();
}

bool OpenSSLServer::waitForOutput(std::string_view text)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds {10};
    while (!m_printed.contains(text)) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd waiting {.fd = m_output, .events = POLLIN, .revents = 0};
        if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) <= 0)
            return false;
        std::array<char, 4'096> bytes;
        const auto count = ::read(m_output, bytes.data(), bytes.size());
        if (count <= 0)
            return false;
        m_printed.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace kova::tests
