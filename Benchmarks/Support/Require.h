// Ends a benchmark that did not do what it measures: a figure of something that failed would be worse than none.

#pragma once

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace kova::benchmarks {

inline void require(bool holds, std::string_view what)
{
    if (holds)
        return;
    std::cerr << "benchmark: " << what << std::endl;
    std::_Exit(1);
}

} // namespace kova::benchmarks
