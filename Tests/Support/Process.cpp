#include "Tests/Support/Process.h"

#include "Tests/Support/Waiting.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <iterator>

namespace kova::tests {

Process::Process(const Options& options)
{
    // A socket, unlike a pipe, can be written to without a signal when nobody reads it any more.
    std::array<int, 2> ends {};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw std::system_error(errno, std::generic_category(), "socketpair");
    const FileDescriptor input {ends[0], "socketpair"};
    m_input = {ends[1], "socketpair"};

    auto arguments = options.arguments;
    arguments.insert(arguments.begin(), options.executable.string());
    std::vector<char*> pointers;
    for (auto& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.get(), STDIN_FILENO);
    const std::pair<int, const char*> outputs[] {{STDOUT_FILENO, "output"}, {STDERR_FILENO, "error"}};
    for (const auto& [descriptor, file] : outputs)
        posix_spawn_file_actions_addopen(
            &actions, descriptor, (m_folder.path() / file).c_str(), O_WRONLY | O_CREAT | O_APPEND, S_IRUSR | S_IWUSR);
    // What this process ignores or blocks is not the child's affair.
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    const int failure
        = posix_spawn(&m_pid, options.executable.c_str(), &actions, &attributes, pointers.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0)
        throw std::system_error(failure, std::generic_category(), options.executable.string());
    m_outputFile.open(m_folder.path() / "output", std::ios::binary);
}

Process::~Process()
{
    signal(SIGKILL);
    reap(0);
}

std::optional<std::string> Process::waitForOutputLine(std::string_view beginning, std::chrono::milliseconds timeout)
{
    std::optional<std::string> found;
    (void)comesTrue(
        [&] {
            // Asked first, so that what an ended child has written is complete.
            const bool hasEnded = reap(WNOHANG);
            readOn();
            auto position = m_linesSeen;
            for (auto end = m_output.find('\n', position); end != std::string::npos && !found;
                end = m_output.find('\n', position)) {
                const auto line = std::string_view {m_output}.substr(position, end - position);
                position = end + 1;
                if (line.starts_with(beginning)) {
                    found = line;
                    m_linesSeen = position;
                }
            }
            return found || hasEnded;
        },
        timeout);
    return found;
}

void Process::readOn()
{
    m_outputFile.clear();
    std::array<char, 65'536> bytes {};
    do {
        m_outputFile.read(bytes.data(), bytes.size());
        m_output.append(bytes.data(), static_cast<std::size_t>(m_outputFile.gcount()));
    } while (m_outputFile);
}

std::string Process::contents(const char* file) const
{
    std::ifstream stream {m_folder.path() / file, std::ios::binary};
    return {std::istreambuf_iterator<char> {stream}, {}};
}

bool Process::writeInput(std::string_view text)
{
    while (!text.empty()) {
        const auto written = send(m_input.get(), text.data(), text.size(), MSG_NOSIGNAL);
        if (written < 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

void Process::signal(int number)
{
    if (!m_end)
        kill(m_pid, number);
}

std::optional<ProcessEnd> Process::wait(std::chrono::milliseconds timeout)
{
    (void)comesTrue([this] { return reap(WNOHANG); }, timeout);
    return m_end;
}

bool Process::reap(int flags)
{
    int status = 0;
    if (!m_end && waitpid(m_pid, &status, flags) == m_pid) {
        if (WIFSIGNALED(status))
            m_end = ProcessEnd {.exitStatus = std::nullopt, .signal = WTERMSIG(status)};
        else
            m_end = ProcessEnd {.exitStatus = WEXITSTATUS(status), .signal = std::nullopt};
    }
    return m_end.has_value();
}

} // namespace kova::tests
