// The peak memory of kova-host on an empty script, and how long it takes from its start to its end, beside a process
// that opens curl and SQLite and does nothing with them.
//
// The kernel counts this process's own memory into that of a child until the child runs its program, so this one stays
// smaller than either; that is checked.

#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/Series.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace kova::benchmarks;

/// A program with its arguments, run again and again with its output thrown away.
class Program {
public:
    explicit Program(std::vector<std::string> commandLine)
        : m_commandLine(std::move(commandLine))
    {
    }

    void run()
    {
        std::vector<char*> arguments;
        for (auto& argument : m_commandLine)
            arguments.push_back(argument.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        pid_t child = 0;
        int status = 0;
        rusage usage {};
        m_time.measure([&] {
            require(posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0
                    && wait4(child, &status, 0, &usage) == child,
                m_commandLine[0] + " cannot be run");
        });
        posix_spawn_file_actions_destroy(&actions);
        require(WIFEXITED(status) && WEXITSTATUS(status) == 0, m_commandLine[0] + " failed");
        m_peaks.push_back(static_cast<double>(usage.ru_maxrss) / 1024);
    }

    [[nodiscard]] double milliseconds() { return m_time.seconds() * 1e3; }
    [[nodiscard]] double mebibytes() const { return *std::ranges::max_element(m_peaks); }

private:
    std::vector<std::string> m_commandLine;
    Series m_time;
    std::vector<double> m_peaks;
};

} // namespace

int main(int argumentCount, char** arguments)
{
    const Effort effort {argumentCount, arguments};
    const BenchmarkFolder folder;
    const auto script = folder.path() / "empty";
    std::ofstream {script} << std::flush;
    const auto programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    Program host {
        {programs / "kova-host", "--data", folder.path() / "data", "--bundle", folder.path(), script.string()}};
    Program bare {{programs / "bare-process", folder.path() / "bare.sqlite"}};
    const int rounds = effort.rounds(300);
    for (int round = 0; round < rounds; ++round) {
        bare.run();
        host.run();
    }
    rusage own {};
    getrusage(RUSAGE_SELF, &own);
    require(
        static_cast<double>(own.ru_maxrss) / 1024 < bare.mebibytes(), "this process is too large to measure another");
    report({.what = "kova-host, empty script: start to end",
        .unit = "ms",
        .value = host.milliseconds(),
        .bound = bare.milliseconds()});
    report({.what = "kova-host, empty script: peak memory",
        .unit = "MiB",
        .value = host.mebibytes(),
        .bound = bare.mebibytes()});
    return 0;
}
