// A child program of a test: started, talked to, waited for, and never left behind.
//
// What the child writes goes into files, so that it never blocks on a full pipe. Every wait has a bound. The destructor
// kills the child, if it still runs, by its own process id, and reaps it. Threads: one at a time.

#pragma once

#include "Tests/Support/FileDescriptor.h"
#include "Tests/Support/TemporaryFolder.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace kova::tests {

/// How a child ended: exactly one of the two is there.
struct ProcessEnd {
    std::optional<int> exitStatus {};
    std::optional<int> signal {};

    friend bool operator==(const ProcessEnd&, const ProcessEnd&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const ProcessEnd& end)
    {
        return end.signal ? stream << "signal " << *end.signal
                          : stream << "exit status " << end.exitStatus.value_or(-1);
    }
};

class Process {
public:
    /// Sanitizers make a child several times slower.
    static constexpr std::chrono::seconds bound {30};

    struct Options {
        std::filesystem::path executable {};
        std::vector<std::string> arguments {};
    };

    /// Throws std::system_error when the program cannot be started.
    explicit Process(const Options& options);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Waits for a whole line of standard output that begins so, and returns it without its newline. Each line is
    /// looked at once: the next call begins after the one that was returned, so a sequence can be followed. None when
    /// the child or the time has ended; the lines are then still there for another call.
    [[nodiscard]] std::optional<std::string> waitForOutputLine(
        std::string_view beginning, std::chrono::milliseconds timeout = bound);

    /// What was written so far; complete once wait() has returned an end.
    [[nodiscard]] std::string standardOutput() const { return contents("output"); }
    [[nodiscard]] std::string standardError() const { return contents("error"); }

    /// Writes to the child's standard input; false when nobody reads it any more.
    bool writeInput(std::string_view text);
    void closeInput() { m_input.close(); }

    /// Does nothing once wait() has returned an end.
    void signal(int number);

    /// Waits until the child has ended; none when it still runs after that time. A repeated call returns the same.
    [[nodiscard]] std::optional<ProcessEnd> wait(std::chrono::milliseconds timeout = bound);

private:
    [[nodiscard]] std::string contents(const char* file) const;
    /// What has come since the last time.
    void readOn();
    /// With a flag of waitpid(): whether the child has ended, which is then in m_end.
    bool reap(int flags);

    TemporaryFolder m_folder;
    pid_t m_pid = -1;
    FileDescriptor m_input;
    std::optional<ProcessEnd> m_end;
    std::ifstream m_outputFile;
    std::string m_output;
    std::size_t m_linesSeen = 0;
};

} // namespace kova::tests
