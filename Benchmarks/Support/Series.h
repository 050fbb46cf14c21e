// Measures one thing again and again.
//
// What is compared is measured in turn, round by round, so that a busy machine slows all of it alike, and the median of
// each is shown.

#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>
#include <vector>

namespace kova::benchmarks {

class Series {
public:
    /// Makes so many calls and remembers how long one took on average.
    template <typename Call> void measure(int calls, Call call)
    {
        const auto begin = std::chrono::steady_clock::now();
        for (int index = 0; index < calls; ++index)
            call();
        add(std::chrono::steady_clock::now() - begin, calls);
    }
    template <typename Call> void measure(Call call) { measure(1, std::move(call)); }

    void add(std::chrono::duration<double> time, int calls) { add(time.count() / calls); }
    /// For what is no time.
    void add(double number) { m_numbers.push_back(number); }

    /// The middle of what was measured.
    [[nodiscard]] double median() { return quantile(0.5); }
    [[nodiscard]] double seconds() { return median(); }
    [[nodiscard]] double microseconds() { return median() * 1e6; }
    [[nodiscard]] double quantile(double part)
    {
        const auto index = static_cast<std::ptrdiff_t>(part * static_cast<double>(m_numbers.size() - 1));
        std::ranges::nth_element(m_numbers, m_numbers.begin() + index);
        return m_numbers[static_cast<std::size_t>(index)];
    }

private:
    std::vector<double> m_numbers;
};

} // namespace kova::benchmarks
