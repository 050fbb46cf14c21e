// Times one thing again and again.
//
// What is compared is measured in turn, round by round, so that a busy machine slows all of it alike, and the median of
// each is shown.

#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
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

    void add(std::chrono::duration<double> time, int calls) { m_seconds.push_back(time.count() / calls); }

    /// The middle of what was measured.
    [[nodiscard]] double seconds() { return quantile(0.5); }
    [[nodiscard]] double microseconds() { return seconds() * 1e6; }
    [[nodiscard]] double quantile(double part)
    {
        const auto index = static_cast<std::ptrdiff_t>(part * static_cast<double>(m_seconds.size() - 1));
        std::ranges::nth_element(m_seconds, m_seconds.begin() + index);
        return m_seconds[static_cast<std::size_t>(index)];
    }

private:
    std::vector<double> m_seconds;
};

} // namespace kova::benchmarks
