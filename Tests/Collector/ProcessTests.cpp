#include "Tests/Support/Process.h"
#include "Tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <csignal>
#include <fstream>
#include <sstream>

namespace kova::tests {
namespace {

Process::Options shell(std::string script)
{
    return {.executable = "/bin/sh", .arguments = {"-c", std::move(script)}};
}

std::ptrdiff_t openDescriptors()
{
    return std::distance(std::filesystem::directory_iterator {"/proc/self/fd"}, std::filesystem::directory_iterator {});
}

TEST(ProcessTest, FollowsAConversation)
{
    auto options
        = shell("echo \"hello $KOVA_NAME\"; echo other; while read line; do echo \"heard $line\"; done; exit 7");
    options.environment = {{"KOVA_NAME", "you"}};
    Process process {options};
    EXPECT_EQ(process.waitForOutputLine("hello"), "hello you");
    EXPECT_TRUE(process.writeInput("a\nb\n"));
    EXPECT_EQ(process.waitForOutputLine("heard"), "heard a");
    EXPECT_EQ(process.waitForOutputLine("heard"), "heard b");
    EXPECT_EQ(process.waitForOutputLine("heard", std::chrono::milliseconds {1}), std::nullopt);
    EXPECT_EQ(process.wait(std::chrono::milliseconds {1}), std::nullopt);
    process.closeInput();
    EXPECT_EQ(process.waitForOutputLine("heard"), std::nullopt);
    EXPECT_EQ(process.wait(), (ProcessEnd {.exitStatus = 7}));
    EXPECT_EQ(process.standardOutput(), "hello you\nother\nheard a\nheard b\n");
    EXPECT_FALSE(process.writeInput("anyone?\n"));
}

TEST(ProcessTest, ReadsMoreThanAPipeHolds)
{
    Process process {shell("i=0; while [ $i -lt 20000 ]; do echo 0123456789; echo error >&2; i=$((i+1)); done")};
    EXPECT_EQ(process.wait(), (ProcessEnd {.exitStatus = 0}));
    EXPECT_EQ(process.standardOutput().size(), 20'000 * 11);
    EXPECT_EQ(process.standardError().size(), 20'000 * 6);
}

TEST(ProcessTest, ReportsTheSignalThatEndedTheChild)
{
    // Ignored here, and yet not there.
    const auto before = std::signal(SIGTERM, SIG_IGN);
    Process process {shell("echo ready; read line")};
    std::signal(SIGTERM, before);
    ASSERT_TRUE(process.waitForOutputLine("ready"));
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(), (ProcessEnd {.signal = SIGTERM}));
}

TEST(ProcessTest, RedirectsIntoFiles)
{
    const TemporaryFolder folder;
    auto options = shell("echo out; echo error >&2");
    options.standardOutputFile = folder.path() / "out";
    options.standardErrorFile = folder.path() / "error";
    Process process {options};
    ASSERT_TRUE(process.wait());
    const auto contents
        = [](const auto& file) { return (std::ostringstream {} << std::ifstream {file}.rdbuf()).str(); };
    EXPECT_EQ(contents(options.standardOutputFile), "out\n");
    EXPECT_EQ(contents(options.standardErrorFile), "error\n");
    EXPECT_EQ(process.waitForOutputLine("out"), std::nullopt);
}

// What a child would inherit: more than the standard streams when whoever ran this test was careless.
std::string descriptorsOfAChild()
{
    Process process {shell("ls /proc/self/fd | wc -l")};
    EXPECT_TRUE(process.wait());
    return process.standardOutput();
}

TEST(ProcessTest, LeavesNoChildAndNoDescriptorBehind)
{
    const auto before = openDescriptors();
    const auto inherited = descriptorsOfAChild();
    pid_t pid = 0;
    {
        // The grandchild holds the output open after its parent's death, and ends with its own input.
        Process process {shell("(read line) <&0 & echo ready; wait")};
        EXPECT_EQ(descriptorsOfAChild(), inherited);
        ASSERT_TRUE(process.waitForOutputLine("ready"));
        pid = process.pid();
        EXPECT_EQ(kill(pid, 0), 0);
    }
    EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_EQ(openDescriptors(), before);
    const Process::Options missing {.executable = "/nonexistent"};
    EXPECT_THROW(Process {missing}, std::system_error);
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
} // namespace kova::tests
