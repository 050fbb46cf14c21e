// A host whose log, or answers, nobody reads any more, and that is told to end.

#include "Tests/Host/HostRun.h"
#include "Tests/Support/FileDescriptor.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/Waiting.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>

namespace kova::tests {
namespace {

/// Something that a host writes to, and whose reader has stopped.
struct Stalled {
    /// Where what is written can be read.
    FileDescriptor reader;
    FileDescriptor writer;
    std::string path;
};

Stalled stalledPipe(const std::filesystem::path& path)
{
    EXPECT_EQ(mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    FileDescriptor reader {open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC), "pipe"};
    FileDescriptor writer {open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC), "pipe"};
    return {.reader = std::move(reader), .writer = std::move(writer), .path = path};
}

Stalled stalledTerminal()
{
    FileDescriptor reader {posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC), "terminal"};
    EXPECT_EQ(grantpt(reader.get()), 0);
    EXPECT_EQ(unlockpt(reader.get()), 0);
    std::array<char, 64> path {};
    EXPECT_EQ(ptsname_r(reader.get(), path.data(), path.size()), 0);
    FileDescriptor writer {open(path.data(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC), "terminal"};
    return {.reader = std::move(reader), .writer = std::move(writer), .path = path.data()};
}

bool isFull(const Stalled& stalled)
{
    pollfd writable {.fd = stalled.writer.get(), .events = POLLOUT, .revents = 0};
    if (poll(&writable, 1, 0) == 0)
        return true;
    // A terminal calls itself writable while it has room for one byte; a line break takes two.
    return isatty(stalled.writer.get()) != 0 && write(stalled.writer.get(), "\n", 1) < 0 && errno == EAGAIN;
}

std::string contents(const Stalled& stalled)
{
    std::string text;
    std::array<char, 65'536> bytes {};
    for (ssize_t count = 0; (count = read(stalled.reader.get(), bytes.data(), bytes.size())) > 0;)
        text.append(bytes.data(), static_cast<std::size_t>(count));
    return text;
}

TEST(StalledReaderTest, AHostEndsSoonAndLosesNothingThatItHasStored)
{
    struct Row {
        const char* name;
        std::function<Stalled(const HostFolder&)> make;
        bool holdsAnswers;
    };
    const Row rows[] {
        {"a pipe", [](const HostFolder& folder) { return stalledPipe(folder.path() / "pipe"); }, false},
        {"a pipe for log and answers", [](const HostFolder& folder) { return stalledPipe(folder.path() / "pipe"); },
            true},
        {"a terminal", [](const HostFolder&) { return stalledTerminal(); }, false},
    };
    for (const auto& [name, make, holdsAnswers] : rows) {
        SCOPED_TRACE(name);
        // Its replies are logged on the session's thread, while pushes are on the main queue's.
        LoopbackServer server;
        server.setDefault(Reply::status(200, std::string(500, 'x')));
        HostFolder folder {server.port()};
        const auto stalled = make(folder);
        folder.launcher = {"/bin/sh", "-c", R"(exec "$@" >"$0")", stalled.path};
        if (holdsAnswers)
            folder.options = {"--answers", stalled.path};
        auto script = start;
        for (int number = 0; number < 2'000; ++number)
            script += pushWithId(std::to_string(number)) + inbox;
        const auto host = folder.start(script);
        ASSERT_TRUE(comesTrue([&] { return isFull(stalled); }, Process::bound));

        host->signal(SIGTERM);
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(host->wait(), success);
        // Half of it for slow machines.
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds {2});
        EXPECT_EQ(host->standardError(), "");

        const auto log = contents(stalled);
        std::size_t stored = 0;
        constexpr std::string_view line = "Notification from storage :";
        for (auto found = log.find(line); found != std::string::npos; found = log.find(line, found + 1))
            ++stored;
        EXPECT_GT(stored, 0U);
        folder.launcher.clear();
        folder.options.clear();
        const auto ids = folder.inboxIds();
        ASSERT_GE(ids.size(), stored);
        for (std::size_t index = 0; index < ids.size(); ++index)
            EXPECT_EQ(ids[index], std::to_string(ids.size() - 1 - index));
    }
}

} // namespace
} // namespace kova::tests
