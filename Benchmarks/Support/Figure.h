// One line of the table that ./bench prints: what was measured, beside its lower bound from the same run.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kova::benchmarks {

struct Figure {
    std::string what;
    const char* unit;
    double value = 0;
    /// What the parts cost that cannot be done without, measured bare.
    double bound = 0;
    /// The ratio that is aimed at, for what should be little, or for what should be much.
    std::optional<double> atMost {};
    std::optional<double> atLeast {};
};

/// Prints a figure as one line.
void report(const Figure& figure);

/// Prints something else worth knowing, indented, so that it is not taken for a line of the table.
void note(std::string_view text);

/// A number as the table shows it.
[[nodiscard]] std::string shown(double number);

} // namespace kova::benchmarks
