#include "Tests/Support/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <mutex>

namespace kova::tests {

namespace {

struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

Pipe makePipe()
{
    std::array<int, 2> ends {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe2");
    return {{ends[0], "pipe2"}, {ends[1], "pipe2"}};
}

FileDescriptor openForWriting(const std::filesystem::path& file)
{
    return {open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR), file.c_str()};
}

std::vector<std::string> environmentWith(const std::vector<std::pair<std::string, std::string>>& additions)
{
    std::vector<std::string> entries;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const auto name = text.substr(0, text.find('='));
        if (std::ranges::none_of(additions, [name](const auto& addition) { return addition.first == name; }))
            entries.emplace_back(text);
    }
    for (const auto& [name, value] : additions)
        entries.push_back(name + "=" + value);
    return entries;
}

std::vector<char*> nullTerminated(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (auto& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// Whether the descriptor became readable, or its other end was closed, in time.
bool waitReadable(int descriptor, std::chrono::milliseconds timeout)
{
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
        pollfd entry {.fd = descriptor, .events = POLLIN, .revents = 0};
        if (poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left, 0))) > 0)
            return true;
        if (left <= 0)
            return false;
    }
}

} // namespace

/// What the reading thread shares with the test.
struct Process::Captured {
    struct Channel {
        FileDescriptor source;
        std::string text;
    };

    std::mutex mutex;
    std::condition_variable changed;
    std::array<Channel, 2> channels; // Output and error; the source of one that has ended is closed.

    [[nodiscard]] bool isComplete() const
    {
        return std::ranges::none_of(channels, [](const auto& channel) { return channel.source.isOpen(); });
    }

    /// Reads both channels until they have ended or `endReading` is readable.
    void read(int endReading)
    {
        std::array<char, 16 * 1024> buffer;
        // Only this thread closes a source, so it may look at them without the lock.
        while (!isComplete()) {
            std::array<pollfd, 3> entries {pollfd {.fd = endReading, .events = POLLIN, .revents = 0},
                pollfd {.fd = channels[0].source.get(), .events = POLLIN, .revents = 0},
                pollfd {.fd = channels[1].source.get(), .events = POLLIN, .revents = 0}};
            if (poll(entries.data(), entries.size(), -1) < 0 && errno != EINTR)
                return;
            if (entries[0].revents != 0)
                return;
            for (std::size_t index = 0; index < channels.size(); ++index) {
                if (entries[index + 1].revents == 0)
                    continue;
                const auto count = ::read(channels[index].source.get(), buffer.data(), buffer.size());
                const std::lock_guard lock {mutex};
                if (count > 0)
                    channels[index].text.append(buffer.data(), static_cast<std::size_t>(count));
                else
                    channels[index].source.close();
                changed.notify_all();
            }
        }
    }
};

Process::Process(const Options& options)
    : m_endReading(eventfd(0, EFD_CLOEXEC), "eventfd")
    , m_captured(std::make_unique<Captured>())
{
    auto input = makePipe();
    std::array<FileDescriptor, 2> sinks;
    const std::array files {options.standardOutputFile, options.standardErrorFile};
    for (std::size_t index = 0; index < sinks.size(); ++index) {
        if (!files[index].empty()) {
            sinks[index] = openForWriting(files[index]);
            continue;
        }
        auto output = makePipe();
        sinks[index] = std::move(output.writeEnd);
        m_captured->channels[index].source = std::move(output.readEnd);
    }
    m_input = std::move(input.writeEnd);
    spawn(options, input.readEnd.get(), sinks[0].get(), sinks[1].get());
    try {
        m_exited = {static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0)), "pidfd_open"};
        m_reader = std::thread {[this] { m_captured->read(m_endReading.get()); }};
    } catch (...) {
        kill(m_pid, SIGKILL);
        reap();
        throw;
    }
}

Process::~Process()
{
    if (!m_end) {
        kill(m_pid, SIGKILL);
        reap();
    }
    // A grandchild may still hold the pipes open.
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(m_endReading.get(), &one, sizeof one);
    m_reader.join();
}

void Process::spawn(const Options& options, int input, int output, int error)
{
    auto arguments = options.arguments;
    arguments.insert(arguments.begin(), options.executable.string());
    auto environment = environmentWith(options.environment);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, error, STDERR_FILENO);
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
    const int failure = posix_spawn(&m_pid, options.executable.c_str(), &actions, &attributes,
        nullTerminated(arguments).data(), nullTerminated(environment).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0)
        throw std::system_error(failure, std::generic_category(), options.executable.string());
}

std::optional<std::string> Process::waitForOutputLine(std::string_view beginning, std::chrono::milliseconds timeout)
{
    auto& output = m_captured->channels[0];
    std::optional<std::string> found;
    auto position = m_linesSeen;
    std::unique_lock lock {m_captured->mutex};
    m_captured->changed.wait_for(lock, timeout, [&] {
        for (auto end = output.text.find('\n', position); end != std::string::npos && !found;
            end = output.text.find('\n', position)) {
            const auto line = std::string_view {output.text}.substr(position, end - position);
            position = end + 1;
            if (line.starts_with(beginning))
                found = line;
        }
        return found.has_value() || !output.source.isOpen();
    });
    if (found)
        m_linesSeen = position;
    return found;
}

std::string Process::standardOutput() const
{
    const std::lock_guard lock {m_captured->mutex};
    return m_captured->channels[0].text;
}

std::string Process::standardError() const
{
    const std::lock_guard lock {m_captured->mutex};
    return m_captured->channels[1].text;
}

bool Process::writeInput(std::string_view text)
{
    // A child that is gone must show as false, not end this process, whatever that does with SIGPIPE.
    sigset_t brokenPipe;
    sigset_t before;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
    bool isBroken = false;
    while (!text.empty() && !isBroken) {
        const auto written = write(m_input.get(), text.data(), text.size());
        if (written > 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else
            isBroken = errno != EINTR;
    }
    if (isBroken) {
        const timespec now {};
        sigtimedwait(&brokenPipe, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return !isBroken;
}

void Process::signal(int number)
{
    if (!m_end)
        kill(m_pid, number);
}

std::optional<ProcessEnd> Process::wait(std::chrono::milliseconds timeout)
{
    if (m_end)
        return m_end;
    if (!waitReadable(m_exited.get(), timeout))
        return std::nullopt;
    reap();
    std::unique_lock lock {m_captured->mutex};
    m_captured->changed.wait_for(lock, bound, [this] { return m_captured->isComplete(); });
    return m_end;
}

void Process::reap()
{
    int status = 0;
    while (waitpid(m_pid, &status, 0) < 0 && errno == EINTR) { }
    if (WIFSIGNALED(status))
        m_end = ProcessEnd {.exitStatus = std::nullopt, .signal = WTERMSIG(status)};
    else
        m_end = ProcessEnd {.exitStatus = WEXITSTATUS(status), .signal = std::nullopt};
}

} // namespace kova::tests
