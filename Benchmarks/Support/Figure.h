// One line of the table that ./bench prints: what was measured, beside its lower bound from the same run.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kova::benchmarks {

/// What is aimed at. Every goal is an upper limit.
struct Goal {
    enum class Of {
        /// What was measured, divided by its bound.
        Ratio,
        /// What was measured.
        Value,
        /// What was measured, its bound subtracted.
        Excess,
    };

    Of of;
    double limit;

    static constexpr Goal ratio(double limit) { return {Of::Ratio, limit}; }
    static constexpr Goal value(double limit) { return {Of::Value, limit}; }
    static constexpr Goal excess(double limit) { return {Of::Excess, limit}; }
};

struct Figure {
    std::string what;
    std::string unit;
    double value = 0;
    /// What the parts cost that cannot be done without, measured bare; none when nothing stands for them.
    std::optional<double> bound {};
    std::optional<Goal> goal {};
};

/// Prints a figure as one line.
void report(const Figure& figure);

/// Prints something else worth knowing, indented, so that it is not taken for a line of the table.
void note(std::string_view text);

/// A number as the table shows it.
[[nodiscard]] std::string shown(double number);

} // namespace kova::benchmarks
