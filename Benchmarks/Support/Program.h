// A program beside this one, run again and again for the numbers that it prints.

#pragma once

#include "Benchmarks/Support/Series.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kova::benchmarks {

/// The path of another program of the same build.
[[nodiscard]] std::string besideThisProgram(const std::string& name);

class Program {
public:
    Program(const std::string& name, std::vector<std::string> arguments);

    /// Runs it once. It must succeed and print numbers, as many as the last time.
    void run();

    /// The time from its start to its end.
    [[nodiscard]] Series& wholeRun() { return m_time; }
    /// What it has printed at this place of its line.
    [[nodiscard]] Series& printed(std::size_t index) { return m_printed.at(index); }

private:
    std::vector<std::string> m_commandLine;
    Series m_time;
    std::vector<Series> m_printed;
};

} // namespace kova::benchmarks
