// The files that a host opens for writing: its store's, in their folder, and no other.

#include "Tests/Host/HostRun.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>

namespace kova::tests {
namespace {

namespace fs = std::filesystem;

constexpr auto strace = "/usr/bin/strace";

std::string whyNoTrace()
{
    if (!fs::exists(strace))
        return "the program strace is missing";
    Process trial {{.executable = strace, .arguments = {"-f", "-o", "/dev/null", "true"}}};
    return trial.wait() == ProcessEnd {.exitStatus = 0} ? "" : "nothing can be traced here: " + trial.standardError();
}

// The paths that a trace shows as opened for writing, made, renamed or removed.
std::vector<std::string> changedPaths(const fs::path& trace)
{
    const std::regex call {
        R"re(\b(openat|open|creat|mkdir|mkdirat|rename\w*|unlink\w*|link\w*|symlink\w*|truncate|mknod\w*)\((.*)\) = \d)re"};
    const std::regex path {R"re("([^"]*)")re"};
    std::vector<std::string> paths;
    std::ifstream lines {trace};
    for (std::string line; std::getline(lines, line);) {
        std::smatch found;
        if (!std::regex_search(line, found, call))
            continue;
        const auto arguments = found[2].str();
        const bool isOpening = found[1].str().starts_with("open");
        if (isOpening && !std::regex_search(arguments, std::regex {"O_WRONLY|O_RDWR|O_CREAT|O_TMPFILE"}))
            continue;
        for (std::sregex_iterator each {arguments.begin(), arguments.end(), path}; each != std::sregex_iterator {};
            ++each)
            paths.push_back((*each)[1]);
    }
    return paths;
}

// A statement of the store once made SQLite copy the inbox into a file of the system's temporary folder.
TEST(StoreFilesTest, WritesOnlyInStoreFolder)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the sanitizer writes files of its own";
#endif
    if (const auto reason = whyNoTrace(); !reason.empty())
        GTEST_SKIP() << reason;
    const TemporaryFolder traces;
    const auto trace = traces.path() / "trace";
    HostFolder folder;
    // Leaks cannot be looked for in a process that is traced.
    folder.launcher = {strace, "-E", "ASAN_OPTIONS=detect_leaks=0", "-f", "-qq", "-s", "4096", "-e", "trace=file", "-o",
        trace.string()};
    std::string script = start;
    for (int number = 0; number < 4; ++number) {
        script += R"({"do":"push","payload":{"custom":{"i":"p)" + std::to_string(number)
            + R"("},"aps":{"alert":{"body":")" + std::string(150'000, 'x') + "\"}}}}\n";
        script += saveEvent("event");
    }
    const auto result = folder.run(script + inbox);
    ASSERT_EQ(result.end, success) << result.errors;
    const auto store = (folder.path() / "data" / "kova-host").string();
    std::size_t inStore = 0;
    for (const auto& path : changedPaths(trace)) {
        const bool isStore = path.starts_with(store);
        inStore += isStore ? 1 : 0;
        EXPECT_TRUE(isStore || path.starts_with("/dev/") || path == (folder.path() / "data").string()
            || path.find("answers") != std::string::npos)
            << path;
    }
    EXPECT_GT(inStore, 3U);
}

} // namespace
} // namespace kova::tests
