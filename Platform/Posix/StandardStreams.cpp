#include "Platform/Posix/StandardStreams.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <string>

namespace kova {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto endless = Clock::time_point::max();
std::atomic<Clock::time_point> endOfWaiting {endless};
/// A line of the log was dropped.
std::atomic<bool> dropsLines = false;

/// A pipe or terminal under a description of its own, which does not block. Setting that for the stream itself would
/// change it for every process that shares it.
class UnblockedStream {
public:
    explicit UnblockedStream(int descriptor)
        : m_descriptor(open(
              ("/proc/self/fd/" + std::to_string(descriptor)).c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC))
    {
    }
    ~UnblockedStream()
    {
        if (isOpen())
            close(m_descriptor);
    }
    UnblockedStream(const UnblockedStream&) = delete;
    UnblockedStream& operator=(const UnblockedStream&) = delete;

    /// False where /proc is missing or the stream belongs to another user.
    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] ssize_t write(std::string_view text) const { return ::write(m_descriptor, text.data(), text.size()); }

private:
    int m_descriptor;
};

/// False when the end of waiting came first.
bool waitUntilWritable(int descriptor)
{
    // Short, since nothing else wakes a waiting thread when an end is set.
    constexpr Clock::duration slice = std::chrono::milliseconds {50};
    while (true) {
        const auto end = endOfWaiting.load();
        const auto left = end == endless ? slice : std::clamp(end - Clock::now(), Clock::duration::zero(), slice);
        pollfd writable {.fd = descriptor, .events = POLLOUT, .revents = 0};
        if (poll(&writable, 1, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count())) > 0)
            return true;
        if (left == Clock::duration::zero())
            return false;
    }
}

/// Writes as much as `write` takes at a time.
template <typename Write> std::error_code writeAll(int descriptor, std::string_view text, const Write& write)
{
    int refusals = 0;
    while (!text.empty()) {
        const auto written = write(text);
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
            refusals = 0;
        } else if (written < 0 && errno == EAGAIN) {
            // A terminal may call itself writable and have no room for a line break.
            if (++refusals > 1)
                poll(nullptr, 0, 10);
            if (!waitUntilWritable(descriptor))
                return std::make_error_code(std::errc::timed_out);
        } else if (written == 0 || errno != EINTR) {
            return {written == 0 ? EIO : errno, std::generic_category()};
        }
    }
    return {};
}

} // namespace

void holdStandardStreams()
{
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        // The lowest number that is free is this one, since those below are taken.
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            open("/dev/null", O_RDWR); // NOLINT(android-cloexec-open)
    }
}

std::error_code writeToStream(int descriptor, std::string_view text)
{
    struct stat status {};
    if (fstat(descriptor, &status) != 0)
        return {errno, std::generic_category()};
    if (S_ISSOCK(status.st_mode))
        return writeAll(descriptor, text,
            [=](std::string_view rest) { return send(descriptor, rest.data(), rest.size(), MSG_DONTWAIT); });
    if (!S_ISFIFO(status.st_mode) && isatty(descriptor) == 0)
        return writeAll(
            descriptor, text, [=](std::string_view rest) { return ::write(descriptor, rest.data(), rest.size()); });
    const UnblockedStream stream {descriptor};
    return writeAll(descriptor, text, [&](std::string_view rest) -> ssize_t {
        if (stream.isOpen())
            return stream.write(rest);
        // A pipe with any room has room for so much.
        if (!waitUntilWritable(descriptor)) {
            errno = EAGAIN;
            return -1;
        }
        return ::write(descriptor, rest.data(), std::min<std::size_t>(rest.size(), PIPE_BUF));
    });
}

void writeToStandardOutput(std::string_view line)
{
    if (!dropsLines && writeToStream(STDOUT_FILENO, line) == std::errc::timed_out)
        dropsLines = true;
}

void limitWaitingForStreams(std::chrono::steady_clock::time_point end)
{
    auto known = endOfWaiting.load();
    while (end < known && !endOfWaiting.compare_exchange_weak(known, end)) { }
}

void unlimitWaitingForStreams()
{
    endOfWaiting = endless;
    dropsLines = false;
}

} // namespace kova
